// Any bytes may be filled into every key, in every form, and every key compared with every other one, matched, shown
// and made a bound, whatever its length has become, without a read or write outside the buffers. What is less than
// another is not equal to it; two price texts of one shape come in one order from either side.
//
// Input: two bytes that choose fill and method, then what the keys are filled with.
#include "keys/credit_keys.h"
#include "keys/feed_keys.h"
#include "keys/idx_keys.h"
#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "keys/price_order_key.h"
#include "keys/sequence_keys.h"
#include "keys/service_keys.h"
#include "qcapi/support.h"
#include "require.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t longest_text = 40;
constexpr std::size_t most_texts = 19;

// Texts of the input, each in a block of its own; zeros where it ends.
class Texts
{
public:
    explicit Texts(std::span<const char> bytes)
    {
        for (auto& text : m_texts) {
            text = std::make_unique<std::array<char, longest_text>>();
            const std::size_t there = std::min(bytes.size(), longest_text);
            std::copy_n(bytes.begin(), there, text->begin());
            bytes = bytes.subspan(std::min(bytes.size(), longest_text / 8));
        }
        m_whole.assign(MAX_KEY_LEN, '\0');
        std::copy_n(bytes.begin(), std::min(bytes.size(), m_whole.size()), m_whole.begin());
    }

    const char* operator[](std::size_t index) const { return m_texts[index]->data(); }
    [[nodiscard]] const char* whole() const { return m_whole.data(); }

private:
    std::array<std::unique_ptr<std::array<char, longest_text>>, most_texts> m_texts;
    std::vector<char> m_whole;
};

template <class Key, std::size_t... texts, std::size_t... numbers>
void init(Key& key, const Texts& text, int fill, std::index_sequence<texts...> /*texts*/,
          std::index_sequence<numbers...> /*numbers*/)
{
    if constexpr (sizeof...(texts) + sizeof...(numbers) != 0) {
        key.Init(text[texts]..., (static_cast<void>(numbers), fill)...);
    }
}

template <class Key> void init_every_form(Key& key, const Texts& text, int fill)
{
    [&]<std::size_t... form>(std::index_sequence<form...>)
    {
        (init(key, text, fill, std::make_index_sequence<Key::forms[form].Texts()>(),
              std::make_index_sequence<Key::forms[form].Numbers()>()),
         ...);
    }
    (std::make_index_sequence<std::size(Key::forms)>());
}

volatile long seen = 0; // what is read goes there, or it wouldn't be read

template <class Key> void compare(Key& left, Key& right)
{
    require(!(left < left));
    const bool less = left < right;
    seen = seen + static_cast<long>(less) + static_cast<long>(left == right) + left.Fit_Pattern(&right);
    seen = seen + static_cast<long>(std::strlen(left.Get_Str()));
}

template <class Key> void try_key(const Texts& text, int fill, CBaseKey& any)
{
    Key key;
    Key whole;
    init_every_form(key, text, fill);
    whole.Init(text.whole());
    compare(key, whole);
    compare<CBaseKey>(key, any);
    compare<CBaseKey>(any, whole);
    static_cast<CBaseKey&>(whole) = any; // of any length
    init_every_form(whole, text, fill);
    compare(whole, key);
    compare(key, whole);
}

template <class Key> void try_bounds(const Texts& text, int fill, int method, CBaseKey& any)
{
    Key key;
    Key bound;
    bound.Set_Price_Key_Sorting_Method(method);
    key.Init(text.whole());
    bound.Init(&key, fill);
    compare(key, bound);
    bound.Init(&any, fill);
    compare(bound, key);
    bound.Init(text[0], fill);
    compare(key, bound);
}

void try_sequences(const Texts& text, int fill, CBaseKey& any)
{
    CSeqKey key;
    CSeqKey other;
    key.Init(text[0], text[1], static_cast<std::uint32_t>(fill));
    other.Init(text.whole());
    compare(key, other);
    require(!(key < other && other < key));
    static_cast<CBaseKey&>(other) = any;
    other.Init(text[0], text[1], 0);
    compare(key, other);
    compare(other, key);

    CConfirmPendKey pending;
    CConfirmPendKey bound;
    static_cast<CBaseKey&>(bound) = any;
    pending.Init(text[0], text[1], 1);
    bound.Init(fill, 1);
    bound.Init(text[0], text[1], 1);
    compare(pending, bound);
    compare(bound, pending);
}

void try_services(const Texts& text, char fill)
{
    CServiceKey key;
    CServiceKey other;
    key.Init(text[0][0], text[1], text.whole(), text[2]);
    other.Init(text[0][0], text[1], fill);
    seen = seen + static_cast<long>(key < other) + static_cast<long>(other < key);
    std::memcpy(other.m_key.data(), text.whole(), other.m_key.size());
    seen = seen + static_cast<long>(key < other) + static_cast<long>(other < key);
    require(!(key < key));
    require((key.First_Part_Comp(other) < 0) == (other.First_Part_Comp(key) > 0));
}

void try_wrapper(const Texts& text, int fill, int method)
{
    CPriceOrderKey key;
    CPriceOrderKey other;
    key.Build(fill & 1, method, fill % 4);
    key.Init(text.whole());
    other = key;
    other.Init(&key, fill);
    compare(key, other);
    other.Init(text[0], fill);
    compare(other, key);
}

void try_prices(const Texts& text, int method)
{
    for (const int side : {'D', 'O'}) {
        const int order = TABLE_KEY_Price_Comp(text[0], text[1], side, method);
        require(TABLE_KEY_Price_Comp(text[0], text[0], side, method) == 0);
        const auto point = [](const char* price) { return std::find(price, price + ORD_PRICE_LEN, '.') - price; };
        if (point(text[0]) == point(text[1])) {
            require(TABLE_KEY_Price_Comp(text[1], text[0], side, method) == -order);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const int fill = data[0];
    const int method = data[1] % 3;
    const std::span bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
    const Texts text(bytes);
    Set_Report_Host_Sink([](int, char*) {});
    CBaseKey any(static_cast<int>(std::min<std::size_t>(bytes.size(), 300)));
    if (!bytes.empty()) {
        std::memcpy(any.m_key, bytes.data(), static_cast<std::size_t>(any.m_key_len));
    }
#define KEY(key, length, ...) try_key<key>(text, fill, any);
    QAPI_PLAIN_KEYS(KEY)
#undef KEY
    try_key<CConfigCreditKey>(text, fill, any);
    try_key<CBranchesPairKey>(text, fill, any);
    try_key<CInstrumentFeedKey>(text, fill, any);
    try_key<COrderKey>(text, fill, any);
    try_key<COrderKeyUser>(text, fill, any);
    try_key<COrderKeyLoginName>(text, fill, any);
    try_key<CPriceG7MarketKey>(text, fill, any);
    try_key<CPriceVoicemarketKey>(text, fill, any);
    try_bounds<COrderKey>(text, fill, method, any);
    try_bounds<COrderKeyUser>(text, fill, method, any);
    try_bounds<COrderKeyLoginName>(text, fill, method, any);
    try_bounds<CPriceG7MarketKey>(text, fill, method, any);
    try_bounds<CPriceVoicemarketKey>(text, fill, method, any);
    try_sequences(text, fill, any);
    try_services(text, static_cast<char>(fill));
    try_wrapper(text, fill, method);
    try_prices(text, method);
    return 0;
}
