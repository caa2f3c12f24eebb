// Keys that give back the parts they were packed from, and one that has none.
#pragma once

#include "keys/packed_key.h"

// The credit settings of an institution, as its own (mine_other_flag) or as those of others.
class CConfigCreditKey : public qapi::PackedKey<CConfigCreditKey>
{
public:
    static constexpr int length = 8;
    static constexpr qapi::PackedForm forms[] = {"market 3, instit_code 4, mine_other_flag 1"};

    CConfigCreditKey() = default;
    CConfigCreditKey(const CConfigCreditKey&) = default;
    virtual CConfigCreditKey& operator=(const CConfigCreditKey& other);
    ~CConfigCreditKey() override = default;

    // Where the three parts stand in the key.
    void Get(char** market, char** instit_code, char** mine_other_flag);
};

// Two branches that trade with each other in a market.
class CBranchesPairKey : public qapi::PackedKey<CBranchesPairKey>
{
public:
    static constexpr int length = 19;
    static constexpr qapi::PackedForm forms[] = {"market 3, branch1 8, branch2 8"};

    // Where the three parts stand in the key.
    void Get_Elements(char** market, char** branch1, char** branch2);
};

// A key without bytes: all of its kind are equal.
class CPlcCreditKey : public CBaseKey
{
public:
    static constexpr int length = 0;
    static constexpr bool ordered_by_bytes = true;

    CPlcCreditKey() : CBaseKey(length) {}
    template <class... Arguments> void Init(const Arguments&... /*ignored*/) {}
};
