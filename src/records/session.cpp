#include "records/session.h"

#include "message_numbers.h"
#include "records/sizes.h"

Composition CGTHeader::Compose()
{
    auto header = Composition::Of_Table_Record(CGTHEADER_TYPE, 0);
    return header;
}

Composition CMsgLogin::Compose()
{
    auto login = Composition::Of_Message(CMSGLOGIN_TYPE, MSS_INGRESO_EQUIPO, LOGIN_AFTER_CABEZA_SIZE);
    login.Without_Names();
    login.Init_Field(CODIGO_PRIMARYUSER);
    login.Init_Field(LOG);
    login.Init_Field_Advancing(CABEZA);
    login.Add_Run(EQUIPO_USUARIO, DS_VERSION_ASK_BY_IDX);
    return login;
}

Composition CMsgEqOffLine::Compose()
{
    auto withdrawal = Composition::Of_Message(CMSGEQOFFLINE_TYPE, MSS_RETIROEQUIPO, RETIROEQUIPO_AFTER_CABEZA_SIZE);
    withdrawal.Without_Names();
    withdrawal.Init_Field_Advancing(CABEZA);
    withdrawal.Add_Run(CODIGO_EQUIPO_RETIRO, BANDERA_USUARIO_RETIRO);
    return withdrawal;
}

Composition CMsgLogReq::Compose()
{
    auto request = Composition::Of_Message(CMSGLOGREQ_TYPE, MSS_PEDIDO_LOG, PED_LOG_AFTER_CABEZA_SIZE);
    request.Without_Names();
    request.Init_Field_Advancing(CABEZA);
    request.Init_Field(PED_LOG_CLASE_LOG);
    return request;
}

Composition CMsgLogBegin::Compose()
{
    auto begin = Composition::Of_Message(CMSGLOGBEGIN_TYPE, MSS_INICIO_LOG, LOG_BEGIN_AFTER_CABEZA_SIZE);
    begin.Without_Names();
    begin.Init_Field_Advancing(CABEZA);
    return begin;
}

Composition CMsgLogEnd::Compose()
{
    auto end = Composition::Of_Message(CMSGLOGEND_TYPE, MSS_FIN_LOG, LOG_END_AFTER_CABEZA_SIZE);
    end.Without_Names();
    end.Init_Field_Advancing(CABEZA);
    return end;
}

Composition CMsgNextLogReq::Compose()
{
    auto request = Composition::Of_Message(CMSGNEXTLOGREQ_TYPE, MSS_PEDIDO_SIGUIENTE_LOG, 0);
    request.Without_Names();
    request.Init_Field_Advancing(CABEZA);
    return request;
}

Composition CMsgVrsCtrl::Compose()
{
    auto version = Composition::Of_Message(CMSVRSCTRL_TYPE, MSS_VERSION_CONTROL, VRSCTRL_AFTER_CABEZA_SIZE);
    version.Init_Header_Msg();
    version.Init_Field_Advancing(CABEZA);
    version.Add_Run(CODIGO_PRIMARYUSER_CONTROL_VRSCTRL, NOMBRE_USUARIO_VRSCTRL);
    return version;
}

Composition CMsgDMList::Compose()
{
    auto list = Composition::Of_Message(CMSGDMLIST_TYPE, MSS_LISTA_DATAMANAGERS, DMLIST_AFTER_CABEZA_SIZE);
    list.Without_Names();
    list.Init_Field_Advancing(CABEZA);
    list.Add_Run(NUMERO_DATAMANAGERS, CODIGO_PU_DATAMANAGER);
    return list;
}

Composition CMsgDMTList::Compose()
{
    auto list = Composition::Of_Table_Record(CMSGDMTLIST_TYPE, DMTLIST_AFTER_HEADER_SIZE);
    list.Without_Names();
    list.Add_Run(DMT_TIPO_SERVIDOR, DMT_CODIGO_EQUIPOS);
    return list;
}

Composition CMsgSubcripReq::Compose()
{
    auto request = Composition::Of_Table_Record(CMSGSUBSCRIPTION_TYPE, SUBSCRIPTION_AFTER_HEADER_SIZE);
    request.Add_Run(TABLE_SUBSCRIPTION_SUBS_CHAR, TABLE_SUBSCRIPTION_DATA_INFO);
    return request;
}

Composition CMsgTablesReq::Compose()
{
    auto request = Composition::Of_Message(CMSGTABLESREQ_TYPE, MSS_PEDIR_TABLAS, TABLESREQ_AFTER_CABEZA_SIZE);
    request.Without_Names();
    request.Init_Field_Advancing(CABEZA);
    request.Init_Field(RELLENO_TABLESREQ);
    return request;
}
