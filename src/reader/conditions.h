// Conditions on received messages, as hosts add them: a list in postfix order of comparisons with fields and of the
// connectives & and |, each for one kind of message. Any thread may add, the reader asks.
#pragma once

#include "message/message.h"
#include "mutex.h"
#include "process_lifetime.h"

#include <array>
#include <list>
#include <string>
#include <string_view>

inline constexpr int CONDFIELD_NO_OPERATOR = 0;
inline constexpr int CONDFIELD_EQ_VALUE = 1;
inline constexpr int CONDFIELD_LIKE_VALUE = 2;
inline constexpr int CONDFIELD_NOT_LIKE_VALUE = 3;

inline constexpr int MAX_R_STACK = 200;

class CCondField
{
public:
    CCondField(int kind, const char* cond_operation, std::string_view value);

    // The field to compare, null for a connective and if the path leads nowhere now.
    CField* Field();

    // What the path leads to belongs to the tables: ReplicaLock stands around the look-up and the reading.
    [[nodiscard]] bool Has_Path() const { return m_path.find_first_of(".[") != std::string::npos; }

    CField* FitField = nullptr; // null until it is looked up, and for ever if the way to it is a path
    int message_t;
    std::string eq_value;
    int eq_len; // bytes of eq_value
    int eq_op;

    CMessage* m_record = nullptr; // where m_path is looked up; null if there is nothing to look up
    std::string m_path;
};

// The steps of an evaluation and its stack are the evaluating thread's. Stack faults are reported and put right.
class CFitFields
{
public:
    // Appends a condition; `field` null is a connective, if eq_value says so.
    void Add(CField* field, int message_t, const char* cond_operation, const char* eq_value, int eq_len);

    // The same for a field that the evaluating thread looks up: a plain name once, a path anew for each message, as
    // the code in the message may lead to another record each time.
    void Add_Named(CMessage* record, const char* path, int message_t, const char* cond_operation, const char* eq_value,
                   int eq_len);

    // 1 if the conditions of the kind accept the record in the buffer of the views, 0 if not. `message` isn't looked
    // at.
    int FitConditions(int message_t, CMessage* message);

    void EraseAll();

    int GetPos(int below); // the position that many below the next free one
    int BackPos();         // gives up the top, and returns its position
    int NextPos();         // takes the next free position

    int r_stack_pos = 0;
    std::array<int, MAX_R_STACK> result_stack{};

private:
    void Append(CCondField condition);
    void Evaluate(CCondField& condition) REQUIRES(m_lock);
    void Evaluate_Connective(char connective);
    void Evaluate_Comparison(const CCondField& condition, CField* field);
    void Evaluate_Like(const CCondField& condition, std::string_view bytes);
    void Evaluate_Equal(const CCondField& condition, CField& field, std::string_view bytes);
    void Push(int result);

    Mutex m_lock; // ReplicaLock may be taken under it, and no lock of a host or a mailbox
    std::list<CCondField> m_conditions GUARDED_BY(m_lock);
    int m_last_result = 0;
};

// The conditions of the process. Logout erases them.
namespace qapi {
extern ProcessLifetime<CFitFields> The_Conditions;
}
using qapi::The_Conditions;

// 1 if the `f_len` bytes (up to the first zero) match the pattern: * and _ stand for one character, % for any run of
// them, [abc] and [^abc] for one of a set.
int Is_Like(const char* f_cont, int f_len, const char* pattern, int patt_len);

namespace qapi {

// 1 if messages of the number are subscribed and the conditions accept this one, which is then pending; else 0, and it
// counts as done. For the reader, with the message in the buffer of the views.
int Fit_Conditions(int message_t, CMessage* message);

} // namespace qapi

using qapi::Fit_Conditions;
