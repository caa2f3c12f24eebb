// Where a field that is a code leads: the index of the function that finds the record it names. Function n of
// CField::m_ref_func serves every row of the catalogue whose column "leads to" says so.
#pragma once

enum FieldReference : int
{
    REF_NONE = 0,
    REF_CITY = 1,
    REF_ISSUER = 2,
    REF_INSTITUTION = 3,
    REF_MARKET = 4,
    REF_CURRENCY = 5,
    REF_COUNTRY = 6,
    REF_PRIMARY_USER = 7,
    REF_BRANCH = 8,
    REF_USER = 9,
    REF_VOICE_GROUP = 10,
    REF_SUPER_GROUP = 11,
    REF_INSTRUCTION = 12,
    REF_BUYER = 13,          // the buyer as a principal
    REF_BUYER_TRUSTEE = 14,  // the buyer's trustee
    REF_SELLER_TRUSTEE = 15, // the seller's
    REF_EMPLOYEE = 16,
    REF_SCHEME = 17, // an element of the session's scheme of colours
    REF_SELLER = 18, // the seller as a principal
    REF_SUB_PRINCIPAL = 19,
    REF_OWN_PRINCIPAL = 20,   // the principal of whoever placed the order
    REF_COUNTERPARTY = 21,    // the counterparty as a principal
    REF_OTHER_PRINCIPAL = 22, // the principal of the counterparty
    REF_RECEIVER = 23,        // an element of a chat's receivers
};

inline constexpr int MAX_REF_CALL = 30; // indexes of reference functions: 1 to 29
