// Conditions on received messages, as hosts add them: a list in postfix order of comparisons with fields and of the
// connectives & and |, each for one kind of message. Any thread may add, the reader asks.
#pragma once

#include "message/message.h"
#include "process_lifetime.h"

inline constexpr int CONDFIELD_NO_OPERATOR = 0;
inline constexpr int CONDFIELD_EQ_VALUE = 1;
inline constexpr int CONDFIELD_LIKE_VALUE = 2;
inline constexpr int CONDFIELD_NOT_LIKE_VALUE = 3;

inline constexpr int MAX_R_STACK = 200;

class CFitFields
{
public:
    // 1 if the conditions of the kind accept the record in the buffer of the views, 0 if not.
    int FitConditions(int message_t, CMessage* message);

    void EraseAll();
};

// The conditions of the process. Logout erases them.
extern ProcessLifetime<CFitFields> The_Conditions;

// 1 if the `f_len` bytes (up to the first zero) match the pattern: * and _ stand for one character, % for any run of
// them, [abc] and [^abc] for one of a set.
int Is_Like(const char* f_cont, int f_len, const char* pattern, int patt_len);
