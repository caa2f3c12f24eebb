#include "records/prices.h"

#include "message_numbers.h"
#include "records/sizes.h"

namespace {

constexpr int message_body = MSG_NUMBER_FIELD_SIZE + CABEZA_HEADER_SIZE;

} // namespace

Composition CMsgPrcMntTrans::Compose()
{
    auto prices = Composition::Of_Message(CMSHTRAMHOY_TYPE, MSS_PRCMNT_TRANS_HOY, HTRAMHOY_AFTER_CABEZA_SIZE);
    prices.Init_Header_Msg();
    prices.Init_Field_Advancing(CABEZA);
    prices.Add_Run(BANDERA_CLASE_MENSAJE, ESCALA_PRECIO_HOY);
    prices.At_End();
    prices.Init_Field(REC_IDX);
    return prices;
}

Composition CMsgPrcMntHour::Compose()
{
    auto prices = Composition::Of_Message(CMSHISTMHOY_TYPE, MSS_PRCMNT_HORA_HOY, HISTMHOY_AFTER_CABEZA_SIZE);
    prices.Init_Header_Msg();
    prices.Init_Field_Advancing(CABEZA);
    prices.Add_Run(BANDERA_CLASE_MENSAJE_HISTMHOY, RELLENO_H_MES_HISTMHOY);
    prices.At_End();
    prices.Init_Field(REC_IDX);
    prices.Unnamed({DATOS_HISTORIA_MONEDA_HORA});
    return prices;
}

Composition CMsgPrcMntHourTerm::Compose()
{
    auto prices = Composition::Of_Message(CMSPRCHOURTERM_TYPE, MSS_PRCMNT_HORA_PLAZO_HOY,
                                          PRCHOURTERM_AFTER_CABEZA_SIZE + DATOS_PRCHOURTERM_SIZE);
    prices.Init_Header_Msg();
    prices.Init_Field_Advancing(CABEZA);
    prices.Add_Run(BANDERA_CLASE_MENSAJE_PRCHOURTERM, BANDERA_ARCHIVO_PRCHOURTERM);
    prices.At(message_body + PRCHOURTERM_AFTER_CABEZA_SIZE);
    prices.Add_Run(DATOS_HISTORIA_MONEDA_HORA_PLAZO_PRCHOURTERM, ESCALA_PRECIO_PRCHOURTERM);
    prices.At_End();
    prices.Init_Field(REC_IDX);
    return prices;
}

Composition CMsgPrcMntHourAmPm::Compose()
{
    auto prices =
        Composition::Of_Message(CMSPRCMNTAMPMHOUR_TYPE, MSS_PRCMNT_HORA_AM_PM_HOY, PRCHOURAMPM_AFTER_CABEZA_SIZE);
    prices.Init_Header_Msg();
    prices.Init_Field_Advancing(CABEZA);
    prices.Add_Run(BANDERA_PRCHOURAMPM, ESCALA_PRECIO_PRCHOURAMPM);
    prices.At_End();
    prices.Init_Field(REC_IDX);
    return prices;
}

Composition CMsgPrcMntTransRentaFija::Compose()
{
    auto maintenance = Composition::Of_Message(CMSPRMNTTRANSRENTAFIJA_TYPE, MSS_PRCMNT_TRANS_RENTA_FIJA,
                                               MNTTRANSRENTAFIJA_AFTER_CABEZA_SIZE);
    maintenance.Init_Header_Msg();
    maintenance.Init_Field_Advancing(CABEZA);
    maintenance.Add_Run(CLASE_MENSAJE_MNTTRANSRENTAFIJA, MCOD_NUEVA_1_MNTTRANSRENTAFIJA);
    maintenance.At_End();
    maintenance.Init_Field(REC_IDX);
    return maintenance;
}

Composition CMsgAvgPurchasePrice::Compose()
{
    auto price =
        Composition::Of_Message(CMSAVGPURCHASEPRICE_TYPE, MSS_AVGPURCHASEPRICE, AVGPURCHASEPRICE_AFTER_CABEZA_SIZE);
    price.Init_Header_Msg();
    price.Init_Field_Advancing(CABEZA);
    price.Add_Run(BANDERA_APP, FECHA_REGISTRO_APP);
    price.At_End();
    price.Init_Field(REC_IDX);
    return price;
}

Composition CMsgPayInstruc::Compose()
{
    auto instruction = Composition::Of_Message(CMSGPAYINST_TYPE, MSS_PAY_INSTRUCTION, PAYINSTRUCTION_AFTER_CABEZA_SIZE);
    instruction.Init_Header_Msg();
    instruction.Init_Field_Advancing(CABEZA);
    instruction.Add_Run(DATOS_INSTRUCCION_PAGO, CODIGO_IP_PAY);
    instruction.Init_Field(REC_IDX); // inside the body, over the end of HORA_IP and the start of CODIGO_POSTURA_IP
    return instruction;
}

Composition CMsgEndTransaction::Compose()
{
    auto end = Composition::Of_Message(CMSGLOGTRANSACTION_TYPE, MSS_END_TRANSACTION, ENDTRANS_AFTER_CABEZA_SIZE);
    end.Init_Header_Msg();
    end.Init_Field_Advancing(CABEZA);
    end.Add_Run(MERCADO_LOGTRANSACTION, CODIGO_UNICO_REGISTRO_RESUMENES_LOGTRANSACTION);
    end.At_End();
    end.Init_Field(REC_IDX);
    return end;
}

Composition CMsgRFQUpdate::Compose()
{
    auto update = Composition::Of_Message(CMSGRFQUPDATE_TYPE, MSS_RFQSTATUS_UPDATE, RFQUPDATE_AFTER_CABEZA_SIZE);
    update.Add_Run(CODIGO_PRIMARYUSER, BANDERA_MENSAJE_PERSISTENTE);
    update.Init_Field_Advancing(CABEZA);
    update.Add_Run(FLAG_RFQUPDATE, COD_REQUEST_BRANCH_RFQUPDATE);
    update.Unnamed({CODIGO_PRIMARYUSER, FLAG_RFQUPDATE, MERCADO_RFQUPDATE, COD_REPLY_BRANCH_RFQUPDATE,
                    COD_REQUEST_BRANCH_RFQUPDATE});
    return update;
}

Composition CMsgChat::Compose()
{
    auto chat = Composition::Of_Message(CMSGCHAT_TYPE, MSS_CHAT, CHAT_AFTER_CABEZA_SIZE);
    chat.Add_Run(CODIGO_PRIMARYUSER, HORA_LOCAL_REMITENTE);
    chat.Add_Run(DATOS_REMITENTE, DIEZMILESIMA_LOCAL_REMITENTE);
    chat.Init_Field_Advancing(CABEZA);
    chat.Add_Run(ID_CHAT, RECEPTOR_CHAT);
    chat.At_End();
    chat.Init_Field(REC_IDX);
    return chat;
}

Composition CTarnelMsg::Compose()
{
    auto trade = Composition::Of_Message(CTARNELMSG_TYPE, MSS_TARNEL, TARNEL_AFTER_CABEZA_SIZE);
    trade.Add_Run(CODIGO_PRIMARYUSER, BANDERA_MENSAJE_PERSISTENTE);
    trade.Init_Field(CODIGO_DATASERVER);
    trade.Init_Field(NUMERO_DATASERVER);
    trade.Add_Run(FECHA_ALFANUMERICA, DATOS_REMITENTE);
    trade.Init_Field(RELLENO_2_CABEZA);
    trade.Init_Field_Advancing(CABEZA);
    trade.Add_Run(G_RELLENO_MENSAJE, G_CREDIT_TOKEN_SELLER);
    trade.At_End();
    trade.Init_Field(REC_IDX);
    return trade;
}

Composition CTarnelWhMsg::Compose()
{
    auto trade = Composition::Of_Message(CTARNELWHMSG_TYPE, MSS_TARNELWH, TARNELWH_AFTER_CABEZA_SIZE);
    trade.Add_Run(CODIGO_PRIMARYUSER, BANDERA_MENSAJE_PERSISTENTE);
    trade.Init_Field(CODIGO_DATASERVER);
    trade.Init_Field(NUMERO_DATASERVER);
    trade.Add_Run(FECHA_ALFANUMERICA, DATOS_REMITENTE);
    trade.Init_Field(RELLENO_2_CABEZA);
    trade.Init_Field_Advancing(CABEZA);
    trade.Add_Run(GW_RELLENO_MENSAJE, GW_TARNEL_STATUS_ERROR);
    trade.At_End();
    trade.Init_Field(REC_IDX);
    return trade;
}
