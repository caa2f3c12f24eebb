#include "records/orders.h"

#include "message_numbers.h"
#include "records/field_policies.h"
#include "records/sizes.h"

namespace {

constexpr int message_body = MSG_NUMBER_FIELD_SIZE + CABEZA_HEADER_SIZE;
constexpr int order_data = message_body + ORDER_AFTER_CABEZA_SIZE;
constexpr int trade_data = message_body + CABEZA_HEADER_SIZE + ORDER_AFTER_CABEZA_SIZE; // behind the second envelope

void redirect_users(Composition& record)
{
    record.With_Policy(USUARIO_SUCURSAL_INTERMEDIARIO, usuario_data);
    record.With_Policy(USUARIO_EMPLEADO, empleado_data);
    record.With_Policy(USUARIO_SUCURSAL_INTERMEDIARIO_1, usuario_data_1);
    record.With_Policy(USUARIO_EMPLEADO_1, empleado_data_1);
}

} // namespace

Composition CMsgOrder::Compose()
{
    auto order = Composition::Of_Message(CMSGORDER_TYPE, MSS_ORDEN, ORDER_AFTER_CABEZA_SIZE + GTABLE_MSG_ORDER_SIZE);
    order.Is_Order();
    order.Init_Header_Msg();
    order.Init_Field_Advancing(CABEZA);
    order.Add_Run(CLASE_MENSAJE, BANDERA_PRIORIDAD);
    order.At(order_data -
             GTABLE_HEADER_SIZE); // DATA_INFO stands behind a table record's header, so here it begins the data
    order.Init_Field(DATA_INFO);
    order.At(order_data);
    order.Add_Run(DATOS_GLOBALES, NUMERO_TITULOS);
    order.Init_Field(MONTO_EMITIDO);
    order.Init_Field(NEMOTECNICO);
    order.Add_Run(CUPONES_SOBREPUESTOS, NUMERO_RUEDA);
    order.Add_Run(CODIGO_INSTIT_DIRECTOR_RUEDA, IP_ACREDITAR_VENDEDOR_MONEDA_2);
    order.At(order_data + GTABLE_ORDER_SIZE);
    order.Add_Run(DATOS_ADICIONALES_TRANSACCION, BANDERA_AGRESOR);
    order.At_End();
    order.Init_Field(REC_IDX);
    order.Behind(REC_IDX);
    order.Init_Field(ENVIRONMENT);
    order.Behind(ENVIRONMENT);
    order.Add_Run(CODIGO_DATASERVER_ORDEN, BANDERA_DIFERIDO);
    order.Unnamed({CODIGO_DATASERVER_ORDEN, BANDERA_DIFERIDO});
    redirect_users(order);
    return order;
}

Composition CGTOrder::Compose()
{
    auto order = Composition::Of_Table_Record(CGTORDER_TYPE, GTABLE_ORDER_SIZE);
    order.Add_Run(DATOS_GLOBALES, VALOR_NOMINAL);
    order.Add_Run(FCM_SELLER, NUMERO_TITULOS);
    order.Init_Field(MONTO_EMITIDO);
    order.Init_Field(NEMOTECNICO);
    order.Add_Run(CUPONES_SOBREPUESTOS, NUMERO_RUEDA);
    order.Add_Run(CODIGO_INSTIT_DIRECTOR_RUEDA, IP_ACREDITAR_VENDEDOR_MONEDA_2);
    order.At_End();
    order.Init_Field(CODIGO_UNICO_REGISTRO);
    order.Add_Run(CODIGO_DATASERVER_ORDEN, BANDERA_DIFERIDO);
    order.Unnamed({CODIGO_DATASERVER_ORDEN, BANDERA_DIFERIDO});
    return order;
}

Composition CMsgTransMon::Compose()
{
    auto trade = Composition::Of_Message(CMSTRANSMON_TYPE, MSS_TRANS_MONEDA,
                                         CABEZA_HEADER_SIZE + ORDER_AFTER_CABEZA_SIZE + GTABLE_MSG_ORDER_SIZE +
                                             TRANSMON_AFTER_ORDER_SIZE);
    trade.Init_Header_Msg();
    trade.Init_Field_Advancing(CABEZA);
    trade.Add_Run(SCND_DATOS_PARA_DATASERVER, SCND_RELLENO_2_CABEZA);
    trade.With_Prefix("transmm_");
    trade.At(message_body + CABEZA_HEADER_SIZE);
    trade.Add_Run(CLASE_MENSAJE, BANDERA_PRIORIDAD);
    trade.At(trade_data);
    trade.Add_Run(DATOS_GLOBALES, CODIGO_PRIMARYUSER_POSTURA);
    trade.Add_Run(CODIGO_POSTURA, NUMERO_USUARIO_POSTURA);
    trade.Init_Field(BANDERA_ULTIMO_HECHO);
    trade.Add_Run(DATOS_POSTURA, HORA_OPERACION);
    trade.Add_Run(TICKS_OPERACION, FECHA_POSTURA);
    trade.Add_Run(HORA_POSTURA, BANDERA_TIPO_POSTURA);
    trade.Add_Run(OVERRIDE_INDICATIVE, TICKS_PRECIO_SPOT_MAXIMO);
    trade.Init_Field(ACTUALIZAR_HORA_OPERACION);
    trade.Add_Run(BANDERAS_POSTURA_3, CODIGO_BACK_OFFICE);
    trade.Add_Run(DETALLES, VALOR_NOMINAL);
    trade.Add_Run(LOTE_MAXIMO, REFERENCIA_TITULO);
    trade.Add_Run(CODIGO_ISIN, NUMERO_TITULOS);
    trade.Init_Field(MONTO_EMITIDO);
    trade.Init_Field(NEMOTECNICO);
    trade.Add_Run(CUPONES_SOBREPUESTOS, RENTABILIDAD);
    trade.Init_Field(TERM);
    trade.Add_Run(DESCUENTO, VALOR_MINIMO_SUBASTA);
    trade.Add_Run(CODIGO_EXTERNO, BANDERA_RETIRO_CUSTODIA);
    trade.Add_Run(ORIGEN_POSTURA, RELLENO_IP_DEBITAR);
    trade.Add_Run(DATOS_ASIGNACION, RENDIMIENTO_ASIGNADO);
    trade.Add_Run(NUMERO_PEDIDO, MONTO_EFECTIVO_ASIGNADO);
    trade.Add_Run(BANDERA_O_D_ASIGNACION, IP_ACREDITAR_VENDEDOR_MONEDA_2);
    trade.At(trade_data + GTABLE_ORDER_SIZE);
    trade.Add_Run(DATOS_ADICIONALES_TRANSACCION, USUARIO_POSTURA_1);
    trade.Add_Run(MCOD_POSTURA_1, CODIGO_SUCURSAL_POSTURA_1);
    trade.Add_Run(CODIGO_INSTITUCION_POSTURA_1, SUCURSAL_4C_POSTURA_1);
    trade.Add_Run(CIUDAD_POSTURA_1, CODIGO_PRIMARYUSER_POSTURA_1);
    trade.Add_Run(BANDERA_REGISTRA_CON_OTR, COMISION_POSTURA_1);
    trade.Init_Field(BANDERA_COMISION_1);
    trade.Add_Run(ENTIDAD_PUBLICA_ACEPTANTE, BANDERA_AGRESOR);
    trade.With_Prefix(nullptr);
    trade.At(trade_data + GTABLE_MSG_ORDER_SIZE);
    trade.Add_Run(DATOS_SUCURSAL_NUESTRA_TMONEDA, BANDERA_CONFIRMACION_TMONEDA);
    trade.At_End();
    trade.Init_Field(REC_IDX);
    redirect_users(trade);
    return trade;
}

Composition CGTHistoryTransDayTerm::Compose()
{
    auto history = Composition::Of_Table_Record(CGTHISTORYTRANSDAYTERM_TYPE, GTABLE_HISTORYTRANSDAYTERM_SIZE);
    history.Add_Run(FECHA_HISTORIA_HISTORYTRANSDAYTERM, MERCADO_HISTORYTRANSDAYTERM);
    history.Init_Field(PRECIO_CIERRE_HISTORYTRANSDAYTERM);
    history.Add_Run(DATOS_PRECIO_MONTO_RF_69_DIA_HISTORYTRANSDAYTERM, PRECIO_APERTURA_HISTORYTRANSDAYTERM);
    history.Add_Run(PRECIO_PROMEDIO_HISTORYTRANSDAYTERM, CODIGO_EMISION_HISTORYTRANSDAYTERM);
    history.At_End();
    history.Init_Field(CODIGO_UNICO_REGISTRO);
    return history;
}
