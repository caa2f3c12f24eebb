#include "keys/feed_keys.h"

#include "keys/plain_keys.h"

void CInstrumentFeedKey::Init(const CSummaryKey* summary, const char* o_d, const char* user_code)
{
    if (summary == nullptr || summary->m_key_len < CSummaryKey::length) {
        return;
    }
    const auto part = [summary](std::string_view name) {
        return summary->m_key + CSummaryKey::forms[0].Offset_Of(name);
    };
    Init(part("market"), part("level"), part("maturity_date"), part("xdays"), part("days"), part("term_text"), o_d,
         user_code);
}
