// Every form of every key that packs its fields, against tests/data/key_forms.txt.
#include "support/key_forms.h"

#include "keys/credit_keys.h"
#include "keys/feed_keys.h"
#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "keys/price_keys.h"
#include "keys/sequence_keys.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace {

constexpr unsigned char not_written = 0xcc;
constexpr unsigned char filled = 0xf5;
constexpr std::uint32_t number = 0xd1d2d3d4; // its low bytes are d4 d3

// What a form is given: texts in blocks of their exact length, so that a byte too many that is read is found.
struct Given
{
    std::vector<std::vector<char>> texts;
    std::vector<std::uint32_t> numbers;
};

// Bytes 1, 2, 3 and so on over all texts.
Given arguments_of(const PinnedForm& form)
{
    Given given;
    std::map<std::string, std::size_t> text_of;
    char next = 1;
    for (const PinnedPart& part : form.parts) {
        if (part.is_text()) {
            text_of[part.name] = given.texts.size();
            given.texts.emplace_back();
        } else if (part.is_fill() || part.is_number()) {
            given.numbers.push_back(part.is_fill() ? filled : number);
        }
        if (part.is_text() || part.is_rest()) {
            auto& text = given.texts[text_of.at(part.name.substr(0, part.name.find('+')))];
            for (std::size_t i = 0; i < part.width; ++i) {
                text.push_back(next++);
            }
        }
    }
    return given;
}

std::string bytes_of(const PinnedPart& part, char& next)
{
    if (part.is_fill()) {
        return std::string(part.width, static_cast<char>(filled));
    }
    if (part.is_itself()) {
        return part.name;
    }
    if (part.is_number()) {
        return std::string("\xd4\xd3\xd2\xd1").substr(0, part.width);
    }
    std::string text;
    while (text.size() < part.width) {
        text += next++;
    }
    return text;
}

std::string expected_key(const PinnedForm& form)
{
    std::string key(form.length, static_cast<char>(not_written));
    char next = 1;
    for (const PinnedPart& part : form.parts) {
        key.replace(part.offset, part.width, bytes_of(part, next));
    }
    return key;
}

template <class Key, std::size_t... texts, std::size_t... numbers>
void init(Key& key, const Given& given, std::index_sequence<texts...> /*texts*/,
          std::index_sequence<numbers...> /*numbers*/)
{
    key.Init(given.texts[texts].data()..., static_cast<int>(given.numbers[numbers])...);
}

// Calls the form of the class that takes as many texts and numbers. False if there is none.
template <class Key, std::size_t form = 0> bool init_form(Key& key, const Given& given)
{
    if constexpr (form < std::size(Key::forms)) {
        constexpr std::size_t texts = Key::forms[form].Texts();
        constexpr std::size_t numbers = Key::forms[form].Numbers();
        if (given.texts.size() != texts || given.numbers.size() != numbers) {
            return init_form<Key, form + 1>(key, given);
        }
        init(key, given, std::make_index_sequence<texts>(), std::make_index_sequence<numbers>());
        return true;
    } else if (given.texts.size() == 1 && given.numbers.empty()) {
        key.Init(given.texts[0].data());
        return true;
    }
    return false;
}

template <class Key> std::string filled_key(const PinnedForm& form)
{
    Key key;
    EXPECT_EQ(key.m_key_len, static_cast<int>(form.length)) << form.key;
    EXPECT_EQ(std::string(key.m_key, form.length + 2), std::string(form.length + 2, '\0')) << "an unset key";
    std::fill_n(key.m_key, form.length, static_cast<char>(not_written));
    EXPECT_TRUE(init_form(key, arguments_of(form))) << form.key << " has no such form";
    EXPECT_EQ(key.m_key[form.length], 0) << form.key << " writes behind its bytes";
    return {key.m_key, form.length};
}

using FillKey = std::function<std::string(const PinnedForm&)>;

const std::map<std::string, FillKey>& classes()
{
    static const std::map<std::string, FillKey> keys = {
#define KEY(key, length, ...) {#key, filled_key<key>},
        QAPI_PLAIN_KEYS(KEY)
#undef KEY
            {"CConfigCreditKey", filled_key<CConfigCreditKey>},
        {"CBranchesPairKey", filled_key<CBranchesPairKey>},
        {"CInstrumentFeedKey", filled_key<CInstrumentFeedKey>},
        {"COrderKey", filled_key<COrderKey>},
        {"COrderKeyUser", filled_key<COrderKeyUser>},
        {"COrderKeyLoginName", filled_key<COrderKeyLoginName>},
        {"CPriceG7MarketKey", filled_key<CPriceG7MarketKey>},
        {"CPriceVoicemarketKey", filled_key<CPriceVoicemarketKey>},
    };
    return keys;
}

TEST(KeyForms, EachPacksItsPartsAsPinned)
{
    int checked = 0;
    for (const PinnedForm& form : pinned_forms()) {
        if (form.key == "CSeqKey") { // its number is widened
            continue;
        }
        ASSERT_TRUE(classes().contains(form.key)) << form.key;
        EXPECT_EQ(classes().at(form.key)(form), expected_key(form)) << form.key << " with " << form.texts() << " texts";
        ++checked;
    }
    EXPECT_EQ(checked, 99);
}

template <class Key> void expect_forms_are_pinned(const std::string& name)
{
    std::set<std::pair<std::size_t, std::size_t>> pinned;
    for (const PinnedForm& form : pinned_forms_of(name)) {
        pinned.insert({form.texts(), form.numbers()});
    }
    for (const qapi::PackedForm& form : Key::forms) {
        EXPECT_TRUE(pinned.contains({form.Texts(), form.Numbers()})) << name << " with " << form.Texts() << " texts";
    }
}

TEST(KeyForms, NoneOfAPlainKeyIsLeftOut)
{
#define KEY(key, length, ...) expect_forms_are_pinned<key>(#key);
    QAPI_PLAIN_KEYS(KEY)
#undef KEY
    expect_forms_are_pinned<COrderKey>("COrderKey");
    expect_forms_are_pinned<COrderKeyUser>("COrderKeyUser");
    expect_forms_are_pinned<COrderKeyLoginName>("COrderKeyLoginName");
}

TEST(KeyForms, TailsThatAreNeverWrittenAreComparedToo)
{
    CCashRateKey rate;
    CCashRateKey other;
    rate.Init("USD", "24 HOURS  ");
    other.Init("USD", "24 HOURS  ");
    EXPECT_EQ(std::string(rate.m_key + 13, 3), std::string(3, '\0')) << "zeros in a new key";
    EXPECT_TRUE(rate == other);
    other.m_key[15] = 1;
    EXPECT_FALSE(rate == other);
    EXPECT_TRUE(rate < other);

    CPendCobranzasKey pending;
    CPendCobranzasKey later;
    EXPECT_EQ(std::string(pending.m_key + 46, 10), std::string(10, '\0'));
    later.m_key[55] = 1;
    EXPECT_TRUE(pending < later);
}

TEST(KeyForms, TextThatIsNullLeavesItsBytes)
{
    CTermKey key;
    key.Init("MKT", "24 HOURS  ");
    key.Init(nullptr, "48 HOURS  ");
    EXPECT_STREQ(key.m_key, "MKT48 HOURS  ");
    key.Init(static_cast<const char*>(nullptr));
    EXPECT_STREQ(key.m_key, "MKT48 HOURS  ");
}

TEST(KeyForms, KeyThatWasGivenAShorterOneIsNotWrittenBehindItsEnd)
{
    CTermKey key;
    const CCityKey city;
    static_cast<CBaseKey&>(key) = city;
    key.Init("MKT", "24 HOURS  ");
    EXPECT_EQ(key.m_key_len, 3);
    EXPECT_EQ(std::string(key.m_key, 5), std::string(5, '\0'));
}

TEST(KeyForms, KeyThatWasGivenALongerOneReadsNoMoreThanItsOwnLength)
{
    const std::vector<char> code{'U', 'S', 'E', 'R'};
    CUserKey key;
    const CTermKey term;
    static_cast<CBaseKey&>(key) = term;
    key.Init(code.data());
    EXPECT_EQ(std::string(key.m_key, 13), std::string(13, '\0'));
}

} // namespace
