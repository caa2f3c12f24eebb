// Which fields of a record go into which key, against tests/data/record_keys.txt; and the bytes that the records write,
// at the places of tests/data/record_layouts.txt and tests/data/key_forms.txt.
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
#include "support/key_forms.h"
#include "support/record_layout_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// A key of a class and, once its fields are there, of them in order: "CGTCity CCityKey: bytes CODIGO_3C_CITY".
std::vector<std::string> pinned_keys()
{
    std::vector<std::string> keys;
    std::string record;
    for (const std::string& line : read_lines("record_keys.txt")) {
        const std::vector<std::string> words = words_of(line);
        if (words.empty() || words[0][0] == '#') {
            continue;
        }
        if (words[0] == "class") {
            record = words.at(1);
        } else if (words[0] == "key") {
            keys.push_back(record + " " + words.at(1) + (words.size() > 2 ? " price:" : ":"));
        } else {
            keys.back() += " " + words[0] + " " + words.at(1);
        }
    }
    return keys;
}

std::string kind_of(const KeyFields& row, const KeyPart& part)
{
    if (row.form != KeyForm::arguments) {
        return "reads";
    }
    return part.by_value ? "value" : "bytes";
}

std::string line_of(const KeyFields& row)
{
    std::string line = std::string(row.record) + " " + std::string(row.key);
    line += row.form == KeyForm::of_price ? " price:" : ":";
    for (const KeyPart& part : row.Parts()) {
        line += " " + kind_of(row, part) + " " + Field_Symbol(part.field_id);
    }
    return line;
}

std::vector<std::string> keys_of_tree()
{
    std::vector<std::string> keys;
    std::transform(All_Key_Fields().begin(), All_Key_Fields().end(), std::back_inserter(keys), line_of);
    return keys;
}

std::vector<std::string> sorted(std::vector<std::string> lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(RecordKeys, EveryKeyTakesTheFieldsThatArePinned)
{
    const std::vector<std::string> built = sorted(keys_of_tree());
    const std::vector<std::string> pinned = sorted(pinned_keys());
    for (const std::string& key : pinned) {
        EXPECT_TRUE(std::binary_search(built.begin(), built.end(), key)) << "only pinned: " << key;
    }
    for (const std::string& key : built) {
        EXPECT_TRUE(std::binary_search(pinned.begin(), pinned.end(), key)) << "only in the tree: " << key;
    }
    EXPECT_EQ(built.size(), pinned.size());
    EXPECT_EQ(pinned.size(), 74U);
}

// ---- Bytes -----------------------------------------------------------------------------------------------------

// A record whose bytes are all random, and which ends where its buffer does.
template <class Record> class RandomRecord
{
public:
    RandomRecord() : m_record(std::make_unique<Record>())
    {
        std::mt19937 random(5);
        std::generate_n(m_record->m_data, m_record->Buffer_Size(), [&random] { return static_cast<char>(random()); });
        m_record->Init();
    }

    Record& operator*() { return *m_record; }
    Record* operator->() { return m_record.get(); }

    // The bytes from a field on, whether or not they are the field's.
    std::string from(const PinnedField& field, std::size_t width)
    {
        EXPECT_LE(field.offset + static_cast<int>(width), m_record->Buffer_Size()) << field.symbol;
        return {m_record->m_data + field.offset, width};
    }

private:
    std::unique_ptr<Record> m_record;
};

const PinnedClass& pinned_class(const std::string& name)
{
    return *std::find_if(pinned_classes().begin(), pinned_classes().end(),
                         [&](const PinnedClass& pinned) { return pinned.name == name; });
}

const KeyFields& row_of(const std::string& record, const std::string& key)
{
    return *std::find_if(All_Key_Fields().begin(), All_Key_Fields().end(), [&](const KeyFields& row) {
        return row.record == record && row.key == key && row.form == KeyForm::arguments;
    });
}

// The key that a row's fields make: part by part, the bytes from a field on.
template <class Record> std::string expected_key(RandomRecord<Record>& record, const KeyFields& row)
{
    const PinnedForm form = pinned_forms_of(std::string(row.key)).front();
    EXPECT_EQ(form.parts.size(), row.Parts().size()) << row.record << " " << row.key;
    std::string key(form.length, '\0');
    for (std::size_t i = 0; i < form.parts.size(); ++i) {
        const PinnedField* field = pinned_class(std::string(row.record)).find(Field_Symbol(row.Parts()[i].field_id));
        EXPECT_NE(field, nullptr);
        key.replace(form.parts[i].offset, form.parts[i].width, record.from(*field, form.parts[i].width));
    }
    return key;
}

template <class Key> std::string bytes_of(const Key& key)
{
    return {key.m_key, static_cast<std::size_t>(key.m_key_len)};
}

template <class Record, class Key> std::string filled_key(CMessage& record)
{
    Key key;
    record.Init_Key(&key); // as tables do it, which don't know the class
    return bytes_of(key);
}

// A row of KeyForm::arguments: the bytes of the key, and those that are expected.
template <class Record, class Key> void expect_fields(const std::string& record_name, const std::string& key_name)
{
    RandomRecord<Record> record;
    const std::string expected = expected_key(record, row_of(record_name, key_name));
    EXPECT_EQ((filled_key<Record, Key>(*record)), expected) << record_name << " " << key_name;
}

TEST(RecordKeys, EveryKeyOfPlainFieldsHoldsTheirBytes)
{
    int checked = 0;
#define CHECK_arguments(record, key)                                                                                   \
    expect_fields<record, key>(#record, #key);                                                                         \
    ++checked;
#define CHECK_computed(record, key)
#define CHECK_of_price(record, key)
#define KEY(record, key, form, ...) CHECK_##form(record, key)
#include "records/key_fields.def"
#undef KEY
    EXPECT_EQ(checked, 46);
}

TEST(RecordKeys, IdxKeyIsTheIdxOfEveryRecord)
{
#define CHECK_IDX(record)                                                                                              \
    {                                                                                                                  \
        record one;                                                                                                    \
        CIdxKey key;                                                                                                   \
        one[REC_IDX] = 0x01020304U;                                                                                    \
        static_cast<CMessage&>(one).Init_Key(&key);                                                                    \
        EXPECT_EQ(key, CIdxKey().Init(0, 0x01020304)) << #record;                                                      \
    }
#define KEY(record, key, form, ...)                                                                                    \
    if constexpr (std::is_same_v<key, CIdxKey>)                                                                        \
    CHECK_IDX(record)
#include "records/key_fields.def"
#undef KEY
}

TEST(RecordKeys, KeyThatARecordDoesNotFillStaysAsItWas)
{
    CGTCity city;
    CUserKey key;
    key.Init("USER");
    city.Init_Key(&key);
    EXPECT_STREQ(key.m_key, "USER");
}

TEST(RecordKeys, ViewFillsKeysFromTheBufferItLooksAt)
{
    CGTCity city;
    city[CODIGO_3C_CITY] = "BOG";
    std::vector<char> other(static_cast<std::size_t>(city.Buffer_Size()));
    CGTCity view(other.data());
    view[CODIGO_3C_CITY] = "MDE";
    EXPECT_EQ((filled_key<CGTCity, CCityKey>(view)), "MDE");
    view.Set_Data_Buff(city.m_data);
    EXPECT_EQ((filled_key<CGTCity, CCityKey>(view)), "BOG");
}

// ---- Keys that are computed ------------------------------------------------------------------------------------

void put(CMessage& record, int field_id, const std::string& bytes)
{
    std::copy(bytes.begin(), bytes.end(), record[field_id].Get_Data_Ptr());
}

class OrderKeys : public testing::Test
{
protected:
    void SetUp() override
    {
        put(order, MERCADO, "MKT");
        put(order, NIVEL, "1");
        put(order, FECHA_VENCIMIENTO, "20271231");
        put(order, XDIAS, "xx");
        put(order, DIAS, "dd");
        put(order, TEXTO_TERM, "term-text-");
        put(order, SUB_MERCADO, "s");
        put(order, O_D, "D");
        put(order, CODIGO_CATEGORIA, "c");
        put(order, PRECIO, "          4321.0987");
        put(order, BANDERA_FISICO_COMPENSACION, "E");
        put(order, FECHA_POSTURA, "20261122");
        put(order, HORA_OPERACION, "101112");
        put(order, CODIGO_POSTURA, "code-12345");
        put(order, CODIGO_GRUPO, "grup");
        put(order, NOMBRE_TITULO, "title-twelve");
        put(order, MONEDA, "USD");
        put(order, CONCERTACION, "aa");
        put(order, FECHA_VALOR, "vv");
        put(order, CAMA_DE_MONTO, "m");
        put(order, TIPO_OPERACION, "oo");
        put(order, LINEA_PICO, "p");
        put(order, PRECIO_ASIGNADO, "          1234.5678");
        put(order, RESTRICCION_PARA_ORDENAMIENTO, "r");
        put(order, NUMERO_RONDA, "number");
    }

    template <class Key, class... More> std::string filled_with(More... more)
    {
        Key key;
        static_cast<CMessage&>(order).Init_Key(&key, more...);
        return bytes_of(key);
    }

    CGTOrder order;
};

TEST_F(OrderKeys, BookKeyHoldsInstrumentSidePriceAndTime)
{
    EXPECT_EQ(filled_with<CPriceG7MarketKey>(), "MKT1"
                                                "20271231"
                                                "xxddterm-text-sDc"
                                                "          4321.0987"
                                                "E20261122101112code-12345");
}

TEST_F(OrderKeys, FloorKeyHoldsTheAssignedPrice)
{
    EXPECT_EQ(filled_with<CPriceVoicemarketKey>(), "MKTxxddgruptitle-twelveUSDaavvmoopDcE"
                                                   "          1234.5678"
                                                   "rnumber101112code-12345");
}

TEST_F(OrderKeys, BoundOfABookEndsBehindTheSide)
{
    const std::string head = "MKT120271231xxddterm-text-s";
    EXPECT_EQ(filled_with<CPriceG7MarketKey>("O", 0), head + "O" + std::string(45, '\0'));
    EXPECT_EQ(filled_with<CPriceG7MarketKey>("D", 0),
              head + "D" + '\0' + std::string(19, '\xff') + std::string(25, '\0'))
        << "the highest bid is the first";
}

TEST_F(OrderKeys, BoundOfAFloorTurnsTheOrderTypeRound)
{
    const std::string head = "MKTxxddgruptitle-twelveUSDaavvmoop";
    EXPECT_EQ(filled_with<CPriceVoicemarketKey>("O", 255),
              head + "O" + '\xff' + '\0' + std::string(19, '\xff') + std::string(23, '\xff'));
    EXPECT_EQ(filled_with<CPriceVoicemarketKey>("D", 0),
              head + "D" + '\0' + '\xff' + std::string(19, '\xff') + std::string(23, '\0'));
}

TEST_F(OrderKeys, WrapperHoldsTheKeyOfTheBook)
{
    CPriceOrderKey wrapper;
    static_cast<CMessage&>(order).Init_Key(&wrapper);
    EXPECT_EQ(bytes_of(*wrapper.m_internal_price), filled_with<CPriceG7MarketKey>());
    static_cast<CMessage&>(order).Init_Key(&wrapper, "D", 255);
    EXPECT_EQ(bytes_of(*wrapper.m_internal_price), filled_with<CPriceG7MarketKey>("D", 255));
}

TEST_F(OrderKeys, MarketOfAUsersKeyIsTheOrdersAndTheUserStays)
{
    CMarketUserKey key;
    key.Init("OLD", "USER");
    static_cast<CMessage&>(order).Init_Key(&key);
    EXPECT_STREQ(key.m_key, "MKTUSER");
}

TEST_F(OrderKeys, UserKeyIsTheCodeOfTheUserOfTheBank)
{
    put(order, USUARIO_BANCO, "BNK7");
    EXPECT_EQ(filled_with<CUserKey>(), "BNK7");
}

TEST(RecordKeys, MarketOfAPairIsFoundByItsTwoCurrencies)
{
    CGTMarkets market;
    put(market, MONEDA_MARKETS, "USD");
    put(market, MONEDA_CONTRAPARTE_MARKETS, "COP");
    put(market, CODIGO_MARKETS, "MKT");
    EXPECT_EQ((filled_key<CGTMarkets, CSpotMarketsKey>(market)), "USD/COPMKT");
}

TEST(RecordKeys, PairOfBranchesBeginsWithItsMarketAndTheOneThatReplies)
{
    CGTBranchesRfqs pair;
    put(pair, MERCADO_BRANCHESRFQS, "MKT");
    put(pair, COD_REQUEST_BRANCH_BRANCHESRFQS, "ASKS-001");
    put(pair, COD_REPLY_BRANCH_BRANCHESRFQS, "ANSWERS2");
    EXPECT_EQ((filled_key<CGTBranchesRfqs, CBranchesRfqsKey>(pair)), "MKTANSWERS2ASKS-001");
}

} // namespace
