// The groups of the catalogue, counted by hand: where each begins and ends, how many rows it has, and how many bytes.
#include "field/flddescr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace {

struct Group
{
    int first;
    int last;
    int rows;
    int bytes;
};

constexpr Group groups[] = {
    {MSG_NUMBER_FIELD, MSG_NUMBER_FIELD, 1, 3},
    {I_OP, DATA_INFO, 9, 2819},
    {CABEZA, DATOS, 30, 1501},
    {TABLE_SUBSCRIPTION, TABLE_SUBSCRIPTION_DATA_INFO, 9, 124},
    {EQUIPO_USUARIO, RELLENO_INGRESO_EQUIPO_DS, 77, 435},
    {RELLENO_TABLESREQ, RELLENO_TABLESREQ, 1, 35},
    {PED_LOG_CLASE_LOG, PED_LOG_RESTO_ULTIMO_MENSAJE, 7, 900},
    {INI_LOG_NUMERO_RECIENTE_LOG, INI_LOG_BANDERA, 3, 9},
    {FIN_LOG_MONITORES_CONECTADOS, FIN_LOG_MONITORES_CONECTADOS, 1, 40},
    {PED_TABS_RELLENO_1, PED_TABS_RELLENO_1, 1, 35},
    {CODIGO_EQUIPO_RETIRO, BANDERA_USUARIO_RETIRO, 4, 16},
    {DATOS_VRSCTRL, RELLENO_VRSCTRL, 30, 111},
    {NUMERO_DATAMANAGERS, CODIGO_PU_DATAMANAGER, 2, 42},
    {DMT_TIPO_SERVIDOR, DMT_CODIGO_EQUIPOS, 3, 64},
    {CLASE_MENSAJE, BANDERA_PRIORIDAD, 3, 4},
    {SCND_CABEZA, SCND_DATOS, 30, 1501},
    {DATOS_GLOBALES, IP_ACREDITAR_VENDEDOR_MONEDA_2, 457, 1194},
    {CODIGO_DATASERVER_ORDEN, BANDERA_DIFERIDO, 2, 3},
    {ETC_CUSTOMER_DATA, ETC_CUSTOMER_DATA, 1, 16},
    {DATOS_ADICIONALES_TRANSACCION, BANDERA_AGRESOR, 120, 223},
    {BANDERA_TIPO_PROCESAMIENTO, RELLENO_2, 11, 2221},
    {DATOS_TMONEDA, BANDERA_CONFIRMACION_TMONEDA, 135, 784},
    {DATOS_HISTORYTRANSDAYTERM, CODIGO_EMISION_HISTORYTRANSDAYTERM, 47, 368},
    {BANDERA_CLASE_MENSAJE, ESCALA_PRECIO_HOY, 137, 919},
    {BANDERA_CLASE_MENSAJE_HISTMHOY, RELLENO_H_MES_HISTMHOY, 45, 324},
    {BANDERA_CLASE_MENSAJE_PRCHOURTERM, BANDERA_ARCHIVO_PRCHOURTERM, 2, 2},
    {DATOS_PRCHOURTERM, ESCALA_PRECIO_PRCHOURTERM, 75, 492},
    {BANDERA_PRCHOURAMPM, ESCALA_PRECIO_PRCHOURAMPM, 54, 353},
    {DATOS_MNTTRANSRENTAFIJA, MCOD_NUEVA_1_MNTTRANSRENTAFIJA, 57, 226},
    {BANDERA_APP, RELLENO_APP, 11, 50},
    {DATOS_INSTRUCCION_PAGO, CODIGO_IP_PAY, 8, 36},
    {MERCADO_LOGTRANSACTION, CODIGO_UNICO_REGISTRO_RESUMENES_LOGTRANSACTION, 5, 40},
    {DATOS_RFQUPDATE, RELLENO_RFQUPDATE, 8, 1543},
    {DATOS_CHAT, RECEPTOR_CHAT, 14, 3740},
    {G_RELLENO_MENSAJE, G_RELLENO, 113, 1532},
    {GW_RELLENO_MENSAJE, GW_TARNEL_STATUS_ERROR, 45, 551},
    {DATOS_INSTITUCION_INSTITUCION, NUMERO_INSTITUCION_INSTITUCION, 23, 108},
    {DATOS_INSTRUCCION_PERMANENTE, SUCURSAL_4C_INSPERM, 23, 276},
    {DATOS_PU, NUMERO_PRIMARYUSER_PU, 16, 33},
    {DATOS_CITY, RELLENO_CITY, 13, 135},
    {DATOS_COUNTRY, RELLENO_COUNTRY, 18, 253},
    {DATOS_MONEY, PICTURE_PRECIO_MONEY, 13, 146},
    {DATOS_VOICEGROUP, RELLENO_VOICEGROUP, 31, 303},
    {DATOS_FIXEDINCOMEMARKETS, RELLENO_FIXEDINCOMEMARKETS, 12, 284},
    {DATOS_RATES, RELLENO_RATES, 13, 107},
    {DATOS_EMISOR, RELLENO_1_EMISOR, 11, 92},
    {DATOS_COMITENTE_COMITENTES, BANDERA_VERIFICADO_COMITENTES, 27, 163},
    {DATOS_SUBCOMITENTE, BANDERA_VERIFICADO_SUBCOMITENTE, 9, 63},
    {DATOS_ESPECIAL_FIDUCIARIO_FIDUCIARIOS, RELLENO_FIDUCIARIOS, 5, 87},
    {DATOS_EMPLOYEE, RELLENO_EMPLOYEE, 15, 142},
    {DATOS_ESQUEMA, BANDERA_VERIFICADO_ESQUEMA, 16, 96},
    {DATOS_BRANCHES, CLASE_DERIVADA, 44, 312},
    {DATOS_BRANCHESRFQS, RELLENO_BRANCHESRFQS, 7, 35},
    {DATOS_USER, RELLENO_1_PUSUARIO, 82, 699},
    {DATOS_MARKETS, AMBIENTE_MERCADO_MARKETS, 159, 1018},
    {DATOS_MARKETS_OLD, AMBIENTE_MERCADO_MARKETS_OLD, 33, 581},
    {DATOS_GLOBALES_VOICESUMMARY, CODIGO_UNICO_INSTRUMENTO_QFIX_VOICESUMMARY, 67, 693},
    {DATOS_VOICESUPERGROUP, DATOS_VOICESUPERGROUP, 1, 277},
    {CODIGO_VOICESUPERGROUP, RELLENO_VOICESUPERGROUP, 9, 277},
    {NUMERO_REGISTROS_SUPERGROUP, NUMERO_REGISTROS_SUPERGROUP, 1, 2},
    {CODIGO_USUARIO_DIALOGO_CONNUSER, DATOS_LOCALES_CONNUSER, 22, 158},
    {CODIGO_UNICO_REGISTRO, CODIGO_UNICO_REGISTRO, 1, 4},
};

constexpr int rows_of_servers = 93 + 11 + 4;
constexpr Group groups_of_servers[] = {
    {DATOS_ADICIONALES_AC_SP_HANDOVER, BANDERA_CAMBIA_USUARIO_POSTURA_HANDOVER - 1, 93, 400},
    {BANDERA_CAMBIA_USUARIO_POSTURA_HANDOVER, DATOS_GENDATA - 1, 11, 23},
    {DATOS_GENDATA, DATOS_GENDATA + 3, 4, 117},
};

std::span<const FIELD_EQUIVALENCE> rows_of(const Group& group)
{
    FIELD_Check_Consistency();
    const auto first = glb_field_equivalence.begin() + group.first;
    return {first, first + group.last - group.first + 1};
}

int bytes_of(const Group& group)
{
    const auto rows = rows_of(group);
    return std::accumulate(rows.begin(), rows.end(), 0, [](int bytes, const FIELD_EQUIVALENCE& row) {
        return std::max(bytes, row.field_offset + row.field_len);
    });
}

void expect_counted(const Group& group)
{
    SCOPED_TRACE(Field_Symbol(group.first));
    EXPECT_EQ(group.last - group.first + 1, group.rows);
    EXPECT_EQ(rows_of(group).front().field_offset, 0);
    EXPECT_EQ(bytes_of(group), group.bytes);
}

TEST(CatalogueCounts, EveryGroupHasItsRowsAndBytes)
{
    std::for_each(std::begin(groups), std::end(groups), expect_counted);
    std::for_each(std::begin(groups_of_servers), std::end(groups_of_servers), expect_counted);
}

TEST(CatalogueCounts, GroupsFollowOneAnotherWithoutAGap)
{
    int next = 0;
    for (const Group& group : groups) {
        const bool behind_servers = group.first == DATOS_INSTITUCION_INSTITUCION;
        EXPECT_EQ(group.first, behind_servers ? next + rows_of_servers : next) << Field_Symbol(group.first);
        next = group.last + 1;
    }
    EXPECT_EQ(next, 2337);
    EXPECT_EQ(MAX_FIELDS_DEFINED, 2337);
}

TEST(CatalogueCounts, GroupsOfServersStandInFrontOfTheInstitutions)
{
    int next = GW_TARNEL_STATUS_ERROR + 1;
    for (const Group& group : groups_of_servers) {
        EXPECT_EQ(group.first, next) << Field_Symbol(group.first);
        next = group.last + 1;
    }
    EXPECT_EQ(next, DATOS_INSTITUCION_INSTITUCION);
}

TEST(CatalogueCounts, NoRowOfTheServersIsBuilt)
{
    for (int id = GW_TARNEL_STATUS_ERROR + 1; id < DATOS_INSTITUCION_INSTITUCION; ++id) {
        EXPECT_FALSE(Field_Is_Built(id)) << Field_Symbol(id);
    }
}

TEST(CatalogueCounts, EveryRowHasItsOwnIndexAndSymbol)
{
    std::vector<std::string> symbols;
    for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
        EXPECT_EQ(glb_field_equivalence[static_cast<std::size_t>(id)].field_id, id);
        symbols.emplace_back(Field_Symbol(id));
    }
    std::sort(symbols.begin(), symbols.end());
    EXPECT_EQ(std::adjacent_find(symbols.begin(), symbols.end()), symbols.end());
}

} // namespace
