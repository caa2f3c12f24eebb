// Keys of orders. Each may be made the bound of a range: of what its head says (`l_k` may be any key; what it lacks is
// zeros), or of all that begins with three bytes, a market where the key begins with one.
#pragma once

#include "keys/packed_key.h"

// Compared with keys of other lengths without a report.
class COrderKey : public qapi::PackedKey<COrderKey>
{
public:
    static constexpr int length = 25;
    static constexpr qapi::PackedForm forms[] = {"market 3, order_code 10, o_d 1, sub_market 1, text_term 10",
                                                 "market 3, fill", "fill"};

    void Init(const char* new_key_value) { PackedKey::Init(new_key_value); }
    void Init(int fill) { PackedKey::Init(fill); }
    void Init(const char* market, const char* order_code, const char* o_d, const char* sub_market,
              const char* text_term)
    {
        PackedKey::Init(market, order_code, o_d, sub_market, text_term);
    }

    // The bound of what begins with an order's code, or else with the institution that its first four bytes name.
    void Init(const char* market, const char* order_code, char fill_char, bool use_order_code_len);

    void Init(const char* omarket, int fill_value_char) { PackedKey::Init(omarket, fill_value_char); }
    void Init(const CBaseKey* l_k, int fill_value_char) { Copy_Head(l_k, forms[0].Offset_Of("o_d"), fill_value_char); }

    int Fit_Pattern(CBaseKey* pattern) override;
    char* Get_Str() override; // good until the thread's next call for a key of this class

    bool operator<(const CBaseKey& other) const { return Compare(other) < 0; }
};

class COrderKeyUser : public qapi::PackedKey<COrderKeyUser>
{
public:
    static constexpr int length = 33;
    static constexpr qapi::PackedForm forms[] = {
        "primaryuser_code 4, user 4, market 3, order_code 10, o_d 1, sub_market 1, text_term 10",
        "primaryuser_code 4, user 4, fill", "omarket 3, fill"};

    using PackedKey::Init;
    void Init(const CBaseKey* l_k, int fill_value_char) { Copy_Head(l_k, forms[1].Offset_Of("fill"), fill_value_char); }
};

class COrderKeyLoginName : public qapi::PackedKey<COrderKeyLoginName>
{
public:
    static constexpr int length = 30;
    static constexpr qapi::PackedForm forms[] = {"market 3, login 16, o_d 1, order_code 10", "market 3, login 16, fill",
                                                 "market 3, fill"};

    using PackedKey::Init;
    void Init(const CBaseKey* l_k, int fill_value_char) { Copy_Head(l_k, forms[1].Offset_Of("fill"), fill_value_char); }
};
