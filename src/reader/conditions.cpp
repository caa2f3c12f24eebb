#include "reader/conditions.h"

#include "field/numbers_in_text.h"
#include "qcapi/config.h"
#include "qcapi/errors.h"
#include "qcapi/log.h"
#include "qcapi/support.h"
#include "reader/processed_log.h"
#include "tblproc/replica_lock.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

constinit ProcessLifetime<CFitFields> qapi::The_Conditions([] { return new CFitFields; });

namespace {

int operator_of(const char* text)
{
    std::string name(text != nullptr ? text : "");
    std::transform(name.begin(), name.end(), name.begin(), ascii_lower);
    if (name == "like") {
        return CONDFIELD_LIKE_VALUE;
    }
    if (name == "==" || name == "=") {
        return CONDFIELD_EQ_VALUE;
    }
    return name == "not like" ? CONDFIELD_NOT_LIKE_VALUE : CONDFIELD_NO_OPERATOR;
}

std::string_view text_of(const char* text, int len)
{
    return text != nullptr ? std::string_view(text, static_cast<std::size_t>(std::max(len, 0))) : std::string_view();
}

std::string_view bytes_of(CField& field)
{
    const char* at = field.Get_Ptr();
    return text_of(at, std::min(field.m_len, field.Readable(at)));
}

int length_of(std::string_view bytes)
{
    return static_cast<int>(bytes.size());
}

// ---- Equal -----------------------------------------------------------------------------------------------------

// As far as the field goes, or up to a zero.
bool same_text(std::string_view bytes, const std::string& value)
{
    return std::strncmp(bytes.data(), value.c_str(), bytes.size()) == 0;
}

// The point is a point, whatever the host's locale says.
double decimal(const char* text)
{
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, nullptr, plain);
}

std::int32_t truncated(double number)
{
    if (std::isnan(number)) {
        return 0;
    }
    constexpr double least = std::numeric_limits<std::int32_t>::min();
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(number, least, most));
}

// Nothing for a type that isn't compared. Numbers are read from the bytes as from a text, binary ones too.
std::optional<bool> is_equal(int type, std::string_view bytes, const std::string& value)
{
    const std::string text(bytes);
    switch (type) {
    case FLD_ALPHA:
    case FLD_DATE:
        return same_text(bytes, value);
    case FLD_SHORT:
    case FLD_NUM_ASCII_INT:
    case FLD_INT:
        return qapi::Saturated_Int(text.c_str()) == qapi::Saturated_Int(value.c_str());
    case FLD_UNSIGNED_SHORT:
        return static_cast<std::uint16_t>(qapi::Saturated_Int(text.c_str())) ==
               static_cast<std::uint16_t>(qapi::Saturated_Int(value.c_str()));
    case FLD_NUM_ASCII_DOUBLE:
        return truncated(decimal(text.c_str())) == truncated(decimal(value.c_str()));
    default:
        return {};
    }
}

} // namespace

// ---- A condition -----------------------------------------------------------------------------------------------

CCondField::CCondField(int kind, const char* cond_operation, std::string_view value)
    : message_t(kind), eq_value(value), eq_len(length_of(value)), eq_op(operator_of(cond_operation))
{
}

CField* CCondField::Field()
{
    if (FitField == nullptr && m_record != nullptr) {
        CField* found = m_record->Find_Field(m_path.c_str());
        if (Has_Path()) {
            return found;
        }
        FitField = found;
    }
    if (FitField != nullptr && FitField->m_elem_len != 0) {
        FitField->Forget_Element(); // that of a path
    }
    return FitField;
}

// ---- The list --------------------------------------------------------------------------------------------------

void CFitFields::Append(CCondField condition)
{
    const MutexLock lock(m_lock);
    m_conditions.push_back(std::move(condition));
}

void CFitFields::Add(CField* field, int message_t, const char* cond_operation, const char* eq_value, int eq_len)
{
    CCondField condition(message_t, cond_operation, text_of(eq_value, eq_len));
    condition.FitField = field;
    Append(std::move(condition));
}

void CFitFields::Add_Named(CMessage* record, const char* path, int message_t, const char* cond_operation,
                           const char* eq_value, int eq_len)
{
    CCondField condition(message_t, cond_operation, text_of(eq_value, eq_len));
    condition.m_record = record;
    condition.m_path = path;
    Append(std::move(condition));
}

void CFitFields::EraseAll()
{
    const MutexLock lock(m_lock);
    m_conditions.clear();
}

// ---- The stack -------------------------------------------------------------------------------------------------

namespace {

void report_fault(int pos)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, QAPI_ERR_CONDITION_EVALUATION_TXT, pos);
}

} // namespace

int CFitFields::GetPos(int below)
{
    if (r_stack_pos < below) {
        report_fault(r_stack_pos);
        return 0;
    }
    return r_stack_pos - below;
}

int CFitFields::BackPos()
{
    --r_stack_pos;
    if (r_stack_pos < 0) {
        report_fault(r_stack_pos);
        r_stack_pos = 0;
    }
    return r_stack_pos;
}

int CFitFields::NextPos()
{
    const int pos = r_stack_pos;
    ++r_stack_pos;
    if (r_stack_pos >= MAX_R_STACK) {
        report_fault(r_stack_pos);
        --r_stack_pos;
    }
    return pos;
}

void CFitFields::Push(int result)
{
    result_stack[static_cast<std::size_t>(NextPos())] = result;
    m_last_result = result;
}

// ---- Evaluation ------------------------------------------------------------------------------------------------

int CFitFields::FitConditions(int message_t, CMessage* /*message*/)
{
    const ReportHold reports_wait;
    const MutexLock lock(m_lock);
    r_stack_pos = 0;
    Push(1); // with no condition, a message passes
    for (CCondField& condition : m_conditions) {
        if (condition.message_t == message_t) {
            Evaluate(condition);
        }
    }
    const int result = result_stack[static_cast<std::size_t>(BackPos())];
    if (result == 0) {
        LOG_Text("It doesn't fit required conditions");
    }
    LOG_Text("FitConditions. Return= %d", result);
    return result;
}

// The value alone tells a connective, so a comparison with a value that begins like one is one too.
void CFitFields::Evaluate(CCondField& condition)
{
    const char first = condition.eq_value.c_str()[0];
    if (first == '&' || first == '|') {
        Evaluate_Connective(first);
    } else if (condition.Has_Path()) {
        const ReplicaLock lock;
        Evaluate_Comparison(condition, condition.Field());
    } else {
        Evaluate_Comparison(condition, condition.Field());
    }
}

void CFitFields::Evaluate_Connective(char connective)
{
    const auto left = static_cast<std::size_t>(GetPos(2));
    const int a = result_stack[left];
    const int b = result_stack[static_cast<std::size_t>(GetPos(1))];
    LOG_Text("FitConditions. field1= %d, operator(%c), field2= %d", a, connective, b);
    const bool holds = connective == '&' ? a != 0 && b != 0 : a != 0 || b != 0;
    m_last_result = holds ? 1 : 0;
    result_stack[left] = m_last_result;
    LOG_Text("FitConditions. Result operator (%c): %d", connective, m_last_result);
    BackPos();
}

void CFitFields::Evaluate_Comparison(const CCondField& condition, CField* field)
{
    if (condition.eq_op == CONDFIELD_NO_OPERATOR || field == nullptr) {
        Push(0);
        LOG_Text("FitConditions. Result default= %d", 0);
    } else if (condition.eq_op == CONDFIELD_EQ_VALUE) {
        Evaluate_Equal(condition, *field, bytes_of(*field));
    } else {
        Evaluate_Like(condition, bytes_of(*field));
    }
}

void CFitFields::Evaluate_Like(const CCondField& condition, std::string_view bytes)
{
    const bool negated = condition.eq_op == CONDFIELD_NOT_LIKE_VALUE;
    const char* mark = negated ? "!" : "";
    LOG_Text("FitConditions. field1= %.*s, operator(%sLIKE), field2= %s", length_of(bytes), bytes.data(), mark,
             condition.eq_value.c_str());
    const bool like =
        Is_Like(bytes.data(), length_of(bytes), condition.eq_value.data(), length_of(condition.eq_value)) != 0;
    Push(like != negated ? 1 : 0);
    LOG_Text("FitConditions. Result operator %sLIKE: %d", mark, m_last_result);
}

void CFitFields::Evaluate_Equal(const CCondField& condition, CField& field, std::string_view bytes)
{
    LOG_Text("FitConditions. field1= %.*s, operator(==), field2= %s", length_of(bytes), bytes.data(),
             condition.eq_value.c_str());
    if (const auto equal = is_equal(field.m_type, bytes, condition.eq_value)) {
        Push(*equal ? 1 : 0);
    }
    LOG_Text("FitConditions. Result operator (==): %d", m_last_result);
}

// ---- Messages --------------------------------------------------------------------------------------------------

int qapi::Fit_Conditions(int message_t, CMessage* message)
{
    const bool subscribed =
        message_t >= 0 && message_t < MAX_SUSCRIBED_MESSAGES && Glb_suscribed_message[message_t] != 0;
    const bool fits = subscribed && The_Conditions->FitConditions(message_t, message) != 0;
    if (message == nullptr) { // a host may ask without one
        return fits ? 1 : 0;
    }
    const char* header = (*message)[CABEZA].Get_Ptr();
    if (!fits) {
        LOG_Update_Last_Proc_Message(header, 0);
        return 0;
    }
    LOG_Register_Record(header);
    return 1;
}
