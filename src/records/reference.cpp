#include "records/reference.h"

#include "message_numbers.h"
#include "records/sizes.h"

Composition CGTInstit::Compose()
{
    auto institution = Composition::Of_Table_Record(CGTINSTIT_TYPE, GTABLE_INSTIT_SIZE);
    institution.Add_Run(DATOS_INSTITUCION_INSTITUCION, RELLENO_INSTITUCION);
    institution.Crc32_Over(DATOS_INSTITUCION_INSTITUCION);
    return institution;
}

Composition CGTInsPerm::Compose()
{
    auto instruction = Composition::Of_Table_Record(CGTINSPERM_TYPE, INSPERM_AFTER_CABEZA_SIZE);
    instruction.Add_Run(DATOS_INSTRUCCION_PERMANENTE, RELLENO_IP);
    instruction.Crc32_Over(DATOS_INSTRUCCION_PERMANENTE);
    return instruction;
}

Composition CGTPu::Compose()
{
    auto primary_user = Composition::Of_Table_Record(CGTPU_TYPE, GTABLE_PU_SIZE);
    primary_user.Add_Run(DATOS_PU, ESPEJO_PU);
    primary_user.Unnamed({DATOS_PU});
    primary_user.Crc32_Over(DATOS_PU);
    return primary_user;
}

Composition CGTCity::Compose()
{
    auto city = Composition::Of_Table_Record(CGTCITY_TYPE, CITY_AFTER_CABEZA_SIZE);
    city.Add_Run(DATOS_CITY, CODIGO_TARNEL_CITY);
    city.Crc32_Over(DATOS_CITY);
    return city;
}

Composition CGTCountry::Compose()
{
    auto country = Composition::Of_Table_Record(CGTCOUNTRY_TYPE, COUNTRY_AFTER_CABEZA_SIZE);
    country.Add_Run(DATOS_COUNTRY, NOMBRE_6_COUNTRY);
    country.Crc32_Over(DATOS_COUNTRY);
    return country;
}

Composition CGTMoney::Compose()
{
    auto currency = Composition::Of_Table_Record(CGTMONEY_TYPE, MONEY_AFTER_CABEZA_SIZE);
    currency.Add_Run(DATOS_MONEY, PICTURE_PRECIO_MONEY);
    currency.Crc32_Over(DATOS_MONEY);
    return currency;
}

Composition CGTVoiceGroup::Compose()
{
    auto group = Composition::Of_Table_Record(CGTVOICEGROUP_TYPE, GTABLE_VOICEGROUP_SIZE);
    group.Add_Run(DATOS_VOICEGROUP, RELLENO_VOICEGROUP);
    group.At_End();
    group.Init_Field(CODIGO_UNICO_REGISTRO);
    group.Crc32_Over(DATOS_VOICEGROUP);
    return group;
}

Composition CGTFixedIncomeMarkets::Compose()
{
    auto market = Composition::Of_Table_Record(CGTFIXEDINCOMEMARKETS_TYPE, GTABLE_FIXEDINCOMEMARKETS_SIZE);
    market.Add_Run(DATOS_FIXEDINCOMEMARKETS, RELLENO_FIXEDINCOMEMARKETS);
    market.At_End();
    market.Init_Field(CODIGO_UNICO_REGISTRO);
    return market;
}

Composition CGTRates::Compose()
{
    auto rate = Composition::Of_Table_Record(CGTRATES_TYPE, GTABLE_RATES_SIZE);
    rate.Add_Run(DATOS_RATES, FECHA_REGISTRO_RATES);
    rate.At_End();
    rate.Init_Field(CODIGO_UNICO_REGISTRO);
    return rate;
}

Composition CGTEmisores::Compose()
{
    auto issuer = Composition::Of_Table_Record(CGTEMISORES_TYPE, GTABLE_EMISORES_SIZE);
    issuer.Add_Run(DATOS_EMISOR, RELLENO_1_EMISOR);
    issuer.Crc32_Over(DATOS_EMISOR);
    return issuer;
}

Composition CGTComitentes::Compose()
{
    auto principal = Composition::Of_Table_Record(CGTCOMITENTES_TYPE, GTABLE_COMITENTES_SIZE);
    principal.Add_Run(DATOS_COMITENTE_COMITENTES, BANDERA_VERIFICADO_COMITENTES);
    principal.Crc32_Over(DATOS_COMITENTE_COMITENTES);
    return principal;
}

Composition CGTSubComitente::Compose()
{
    auto principal = Composition::Of_Table_Record(CGTSUBCOMITENTE_TYPE, GTABLE_SUBCOMITENTE_SIZE);
    principal.Add_Run(DATOS_SUBCOMITENTE, BANDERA_VERIFICADO_SUBCOMITENTE);
    principal.Crc32_Over(DATOS_SUBCOMITENTE);
    return principal;
}

Composition CGTFiduciarios::Compose()
{
    auto trustee = Composition::Of_Table_Record(CGTFIDUCIARIOS_TYPE, GTABLE_FIDUCIARIOS_SIZE);
    trustee.Add_Run(DATOS_ESPECIAL_FIDUCIARIO_FIDUCIARIOS, NOMBRE_FIDUCIARIO_FIDUCIARIOS);
    trustee.Crc32_Over(DATOS_ESPECIAL_FIDUCIARIO_FIDUCIARIOS);
    return trustee;
}

Composition CGTEmployee::Compose()
{
    auto employee = Composition::Of_Table_Record(CGTEMPLOYEE_TYPE, GTABLE_EMPLOYEE_SIZE);
    employee.Add_Run(DATOS_EMPLOYEE, ESTADO_EMPLOYEE);
    employee.Crc32_Over(DATOS_EMPLOYEE);
    return employee;
}

Composition CGTEsquema::Compose()
{
    auto scheme = Composition::Of_Table_Record(CGTESQUEMA_TYPE, GTABLE_ESQUEMA_SIZE);
    scheme.Add_Run(DATOS_ESQUEMA, BANDERA_VERIFICADO_ESQUEMA);
    scheme.Crc32_Over(DATOS_ESQUEMA);
    return scheme;
}

Composition CGTBranches::Compose()
{
    auto branch = Composition::Of_Table_Record(CGTBRANCHES_TYPE, GTABLE_BRANCHES_SIZE);
    branch.Add_Run(DATOS_BRANCHES, CLASE_DERIVADA);
    branch.Crc32_Over(DATOS_BRANCHES);
    return branch;
}

Composition CGTBranchesRfqs::Compose()
{
    auto pair = Composition::Of_Table_Record(CGTBRANCHESRFQS_TYPE, GTABLE_BRANCHESRFQS_SIZE);
    pair.Add_Run(DATOS_BRANCHESRFQS, RELLENO_BRANCHESRFQS);
    pair.Unnamed({RELLENO_BRANCHESRFQS});
    return pair;
}

Composition CGTUser::Compose()
{
    auto user = Composition::Of_Table_Record(CGTUSER_TYPE, GTABLE_USER_SIZE);
    user.Add_Run(DATOS_USER, BANDERAS_ACCESOS_RFQC);
    user.Unnamed({ACCESO_MERCADOS_VER, ACCESO_MERCADOS_OPERAR});
    user.Crc32_Over(DATOS_USER);
    return user;
}

Composition CGTMarkets::Compose()
{
    auto market = Composition::Of_Table_Record(CGTMARKET_TYPE, GTABLE_MARKETS_SIZE);
    market.Add_Run(DATOS_MARKETS, CODIGO_MARKETS);
    market.Add_Run(MONEDA_MARKETS, MONEDA_CONTRAPARTE_MARKETS);
    market.Add_Run(NOMBRE_1_MARKETS, IDENTIFICADOR_GRUPO_MERCADOS);
    market.Add_Run(PAIS_FERIADOS_1, AMBIENTE_MERCADO_MARKETS);
    market.Unnamed({DATOS_MARKETS, NEGOCIAR_PRECIO_SPOT_CIERTOS_PLAZOS, DATOS_ADICIONALES_MERCADO});
    market.Crc32_Over(DATOS_MARKETS);
    return market;
}

Composition CGTMarketsOld::Compose()
{
    auto market = Composition::Of_Table_Record(CGTMARKET_OLD_TYPE, GTABLE_MARKETS_SIZE_OLD);
    market.Add_Run(DATOS_MARKETS_OLD, AMBIENTE_MERCADO_MARKETS_OLD);
    market.Unnamed({DATOS_MARKETS_OLD, DATOS_ADICIONALES_MERCADO_OLD});
    return market;
}

Composition CGTVoiceSummary::Compose()
{
    auto summary = Composition::Of_Table_Record(CGTVOICESUMMARY_TYPE, GTABLE_VOICESUMMARY_SIZE);
    summary.Add_Run(DATOS_GLOBALES_VOICESUMMARY, FAVORITOS_VOICESUMMARY);
    summary.At_End();
    summary.Init_Field(CODIGO_UNICO_REGISTRO);
    return summary;
}

Composition CGTSuperGroup::Compose()
{
    auto group = Composition::Of_Table_Record(CGTSUPERGROUP_TYPE, GTABLE_SUPERGROUP_SIZE);
    group.Add_Run(DATOS_VOICESUPERGROUP, RELLENO_VOICESUPERGROUP);
    group.At_End();
    group.Init_Field(NUMERO_REGISTROS_SUPERGROUP);
    group.Crc32_Over(DATOS_VOICESUPERGROUP);
    return group;
}

Composition CGTConnUser::Compose()
{
    Layout_Of<CGTUser>(); // has the same class id: its fields get the first positions, whichever record comes first
    auto user = Composition::Of_Table_Record(CGTUSER_TYPE, GTABLE_CONNUSER_SIZE);
    user.Without_Names();
    user.Add_Run(SUCURSAL_CONNUSER, ESTADO_CONNUSER);
    return user;
}
