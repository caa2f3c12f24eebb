#include "keys/feed_keys.h"

#include "keys/plain_keys.h"

void CInstrumentFeedKey::Init(const CSummaryKey* summary, const char* o_d, const char* user_code)
{
    if (summary == nullptr || summary->m_key_len < CSummaryKey::length) {
        return;
    }
    constexpr const qapi::PackedForm& form = CSummaryKey::forms[0];
    const char* at = summary->m_key;
    Init(at + form.Offset_Of("market"), at + form.Offset_Of("level"), at + form.Offset_Of("maturity_date"),
         at + form.Offset_Of("xdays"), at + form.Offset_Of("days"), at + form.Offset_Of("term_text"), o_d, user_code);
}
