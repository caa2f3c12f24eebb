// How records fill their keys. The keys that take fields as they are come from the rows of key_fields.def.
#include "keys/credit_keys.h"
#include "keys/feed_keys.h"
#include "keys/idx_keys.h"
#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "keys/price_order_key.h"
#include "keys/sequence_keys.h"
#include "records/key_fields.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"

#include <algorithm>

namespace {

using qapi::code_of;
using qapi::number_of;

template <KeyPart part> auto argument(CMessage& record)
{
    if constexpr (part.by_value && !part.is_code) {
        return static_cast<unsigned>(record[part.field_id]);
    } else {
        return record.Bytes_Of(part.field_id);
    }
}

// Gives the key the fields, and behind them what else it takes.
template <KeyPart... parts, class Key, class... Rest> void give(CMessage& record, Key& key, Rest... rest)
{
    key.Init(argument<parts>(record)..., rest...);
}

} // namespace

// ---- Fields as they are ----------------------------------------------------------------------------------------

// NOLINTBEGIN(bugprone-macro-parentheses): the names of types
#define FILL_WITH_arguments(record, key, ...)                                                                          \
    void record::Init_Key(key* to_fill)                                                                                \
    {                                                                                                                  \
        give<__VA_ARGS__>(*this, *to_fill);                                                                            \
    }
#define FILL_WITH_computed(record, key, ...)
#define FILL_WITH_of_price(record, key, ...)
// NOLINTEND(bugprone-macro-parentheses)

#define NUMBER number_of
#define CODE code_of
#define KEY(record, key, form, ...) FILL_WITH_##form(record, key, __VA_ARGS__)
#include "records/key_fields.def"
#undef KEY
#undef CODE
#undef NUMBER

// ---- Orders ----------------------------------------------------------------------------------------------------

// Writes the market alone: the user is whoever looks at it.
void CGTOrder::Init_Key(CMarketUserKey* to_fill)
{
    constexpr int market_len = CMarketUserKey::forms[0].Offset_Of("user_code");
    if (to_fill->m_key_len >= market_len) {
        std::copy_n(Bytes_Of(MERCADO), market_len, to_fill->m_key);
    }
}

void CGTOrder::Init_Key(CPriceOrderKey* to_fill)
{
    to_fill->Build(this);
}

void CGTOrder::Init_Key(CPriceOrderKey* to_fill, const char* o_d, int fill)
{
    to_fill->Build(this, o_d, fill);
}

void CGTOrder::Init_Key(CPriceG7MarketKey* to_fill)
{
    give<MERCADO, NIVEL, FECHA_VENCIMIENTO, XDIAS, DIAS, TEXTO_TERM, SUB_MERCADO, O_D, CODIGO_CATEGORIA, PRECIO,
         BANDERA_FISICO_COMPENSACION, FECHA_POSTURA, HORA_OPERACION, CODIGO_POSTURA>(*this, *to_fill);
}

void CGTOrder::Init_Key(CPriceG7MarketKey* to_fill, const char* o_d, int fill)
{
    give<MERCADO, NIVEL, FECHA_VENCIMIENTO, XDIAS, DIAS, TEXTO_TERM, SUB_MERCADO>(*this, *to_fill, o_d, fill);
}

void CGTOrder::Init_Key(CPriceVoicemarketKey* to_fill)
{
    give<MERCADO, XDIAS, DIAS, CODIGO_GRUPO, NOMBRE_TITULO, MONEDA, CONCERTACION, FECHA_VALOR, CAMA_DE_MONTO,
         TIPO_OPERACION, LINEA_PICO, O_D, CODIGO_CATEGORIA, BANDERA_FISICO_COMPENSACION, PRECIO_ASIGNADO,
         RESTRICCION_PARA_ORDENAMIENTO, NUMERO_RONDA, HORA_OPERACION, CODIGO_POSTURA>(*this, *to_fill);
}

void CGTOrder::Init_Key(CPriceVoicemarketKey* to_fill, const char* o_d, int fill)
{
    give<MERCADO, XDIAS, DIAS, CODIGO_GRUPO, NOMBRE_TITULO, MONEDA, CONCERTACION, FECHA_VALOR, CAMA_DE_MONTO,
         TIPO_OPERACION, LINEA_PICO>(*this, *to_fill, o_d, fill);
}

// ---- Reference tables ------------------------------------------------------------------------------------------

void CGTBranchesRfqs::Init_Key(CBranchesRfqsKey* to_fill)
{
    give<MERCADO_BRANCHESRFQS, COD_REPLY_BRANCH_BRANCHESRFQS, COD_REQUEST_BRANCH_BRANCHESRFQS>(*this, *to_fill);
}

// The market of a pair of currencies: "USD/COPXYZ".
void CGTMarkets::Init_Key(CSpotMarketsKey* to_fill)
{
    give<MONEDA_MARKETS, MONEDA_CONTRAPARTE_MARKETS, CODIGO_MARKETS>(*this, *to_fill);
}
