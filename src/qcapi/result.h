// The codes of errors.h by names of their own, with their texts. Part of <qcapi/host.h>.
#pragma once

#include <qcapi/errors.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace quentar {

/// What an operation answers: the codes of errors.h, by names of their own.
enum class Result : int
{
    ok = 0,
    internal_error = QAPI_ERR_INTERNAL_ERROR,
    config_not_found = QAPI_ERR_CONFIG_NOT_FOUND,
    config_bad_data = QAPI_ERR_CONFIG_BAD_DATA,
    not_initialized = QAPI_ERR_NOT_INITIALIZED_YET,
    rejected_connection = QAPI_ERR_REJECTED_CONNECTION,
    user_not_authorized = QAPI_ERR_RC_NOT_AUTHORIZED_USER,
    unknown_user = QAPI_ERR_RC_USERNAME_DONOT_EXIST,
    wrong_password = QAPI_ERR_RC_ILLEGAL_PASSWORD,
    no_administration = QAPI_ERR_RC_NO_DMACHINES_TRY_LATER,
    duplicated_machine = QAPI_ERR_RC_DUPLICATED_MACHINE_CODE,
    machine_not_registered = QAPI_ERR_RC_MACHINE_NOT_REGISTERED,
    wrong_branch_password = QAPI_ERR_RC_ILLEGAL_BRANCH_PASSWORD,
    status_not_expected = QAPI_ERR_STATUS_NOT_EXPECTED,
    improper_operation = QAPI_ERR_IMPROPER_OPERATION,
    unknown_kind = QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED,
    unknown_field = QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED, ///< or a value that the field can't hold
    already_initialized = QAPI_ERR_ALREADY_INITIALIZED,
    record_not_found = QAPI_ERR_RECORD_NOT_FOUND,
    condition_evaluation = QAPI_ERR_CONDITION_EVALUATION,
    log_files_unusable = QAPI_ERR_COULDNT_USE_LOG_FILES,
    no_data_server = QAPI_ERR_NO_DS_DIRECTIVE,
    illegal_address = QAPI_ERR_ILLEGAL_ADDRESS_TYPE_SPECIFIED,
    no_record_taken = QAPI_ERR_NO_RECORD_TAKEN,
    no_field_taken = QAPI_ERR_NO_FIELD_TAKEN,
    reading_date_file = QAPI_ERR_READING_TMP_CONFIG,
    empty_date_file = QAPI_ERR_EMPTY_TMP_CONFIG,
    invalid_date = QAPI_ERR_INVALID_DATE,
    date_file_stays = QAPI_ERR_CANNOT_DELETE_TMP_CONFIG,
    date_not_at_server = QAPI_ERR_DATE_NOT_EXIST_DS,
};

namespace detail {

struct ErrorRow
{
    int code;
    const char* text; // with directives of printf; null for none
    const char* advice;
};

inline const ErrorRow* error_row(int code)
{
#define QUENTAR_ERROR_ROW(number, name, text, advice) ErrorRow{number, text, advice},
    static constexpr ErrorRow rows[] = {QAPI_ERROR_TABLE(QUENTAR_ERROR_ROW)};
#undef QUENTAR_ERROR_ROW
    for (const ErrorRow& row : rows) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

// The text without the places of its values, their brackets and the blank before them.
inline std::string without_values(std::string_view format)
{
    std::string text;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            text += format[at];
            continue;
        }
        ++at; // the letter of the directive
        const bool bracketed = !text.empty() && text.back() == '(';
        text.resize(text.size() - (bracketed ? 1 : 0));
        at += bracketed ? 1 : 0;
        if (!text.empty() && text.back() == ' ') {
            text.pop_back();
        }
    }
    return text;
}

} // namespace detail

/// @return the result in words, such as "The API was already initiated state"; the values that belong to an error come
///         with on_error. "" for ok.
inline std::string text_of(Result result)
{
    const detail::ErrorRow* row = detail::error_row(static_cast<int>(result));
    if (row == nullptr) {
        return result == Result::ok ? "" : "Unknown result " + std::to_string(static_cast<int>(result));
    }
    return row->text != nullptr ? detail::without_values(row->text) : row->advice;
}

/// @return what to do about it, such as "Correct the password."; "" for ok. Lives as long as the process.
inline const char* advice_of(Result result)
{
    const detail::ErrorRow* row = detail::error_row(static_cast<int>(result));
    return row != nullptr ? row->advice : "";
}

} // namespace quentar
