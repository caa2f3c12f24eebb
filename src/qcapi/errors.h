// Error codes, next actions and status codes of the interface, and the one table of error texts.
#pragma once

// What a host should do after OnError.
inline constexpr int QAPI_NEXT_ACTION_CONTINUE = 0;
inline constexpr int QAPI_NEXT_ACTION_RECONNECT = 1; // the library reconnects by itself
inline constexpr int QAPI_NEXT_ACTION_MAKE_LOGON = 2;
inline constexpr int QAPI_NEXT_ACTION_EXIT = 999; // mend the cause, then start the program again

// Longest error text and its terminator.
inline constexpr int QAPI_ERROR_MESSAGE_LEN = 200;

// One row an error: code, name, text (a printf format; null where the code has none), what to do about it. For each
// row there are a constant NAME with the code and a constant NAME_TXT with the text.
// clang-format off
#define QAPI_ERROR_TABLE(X) \
    X( 1, QAPI_ERR_INTERNAL_ERROR,               "Internal system error %d", \
          "The number is the system's errno; mend what it names, such as a working directory that is gone.") \
    X( 2, QAPI_ERR_CONFIG_NOT_FOUND,             "Config file %s does not exist", \
          "Put a readable qapi.cfg into the working directory.") \
    X( 3, QAPI_ERR_CONFIG_BAD_DATA,              "Config file has incorrect line %d", \
          "Give the keyword of that line a value.") \
    X( 4, QAPI_ERR_NOT_INITIALIZED_YET,          nullptr, \
          "Call Login or Connect first.") \
    X( 5, QAPI_ERR_REJECTED_CONNECTION,          "The connection has been denied", \
          "Ask the market's help desk.") \
    X( 6, QAPI_ERR_RC_NOT_AUTHORIZED_USER,       "User login is not permitted", \
          "Ask the market to permit this user.") \
    X( 7, QAPI_ERR_RC_USERNAME_DONOT_EXIST,      "The username does not exist", \
          "Correct the user name.") \
    X( 8, QAPI_ERR_RC_ILLEGAL_PASSWORD,          "Username correct, but password is incorrect", \
          "Correct the password.") \
    X( 9, QAPI_ERR_RC_NO_DMACHINES_TRY_LATER,    "No administration machine is connected to authorize access to the system", \
          "Wait; the library keeps trying.") \
    X(10, QAPI_ERR_RC_DUPLICATED_MACHINE_CODE,   "Another user is currently connected with this code", \
          "Stop the other program with this local_code, or use another code.") \
    X(11, QAPI_ERR_RC_MACHINE_NOT_REGISTERED,    "The computer is not registered", \
          "Correct local_code, or ask the market to register it.") \
    X(12, QAPI_ERR_RC_ILLEGAL_BRANCH_PASSWORD,   "Incorrect branch password", \
          "Ask the market's help desk.") \
    X(13, QAPI_ERR_STATUS_NOT_EXPECTED,          "The connection changed to status %d, detail (%s)", \
          "Nothing to do; the session goes on.") \
    X(14, QAPI_ERR_IMPROPER_OPERATION,           nullptr, \
          "Correct the call that the text names.") \
    X(15, QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED,"Illegal record type specified (%s)", \
          "Use a message name that the operation takes.") \
    X(16, QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED, "Illegal name field specified", \
          "Use a field that the message has.") \
    X(17, QAPI_ERR_ALREADY_INITIALIZED,          "The API was already initiated state %s", \
          "Call Logout before the next Login or Connect.") \
    X(18, QAPI_ERR_RECORD_NOT_FOUND,             "Record (%s) number (%d) not found", \
          "The record was finished already, or went with its connection.") \
    X(19, QAPI_ERR_CONDITION_EVALUATION,         "Error evaluating login conditions pos (%d)", \
          "Give every connective two conditions before it.") \
    X(20, QAPI_ERR_COULDNT_USE_LOG_FILES,        "The following log file couldn't be opened %s", \
          "Make the working directory writable.") \
    X(21, QAPI_ERR_NO_DS_DIRECTIVE,              "There is no \"data_server\" directive in the config file", \
          "Add a data_server line to qapi.cfg.") \
    X(22, QAPI_ERR_ILLEGAL_ADDRESS_TYPE_SPECIFIED,"Illegal address type specified (%s)", \
          "Use a known address type.") \
    X(23, QAPI_ERR_NO_RECORD_TAKEN,              "There is no record previously taken", \
          "Call TakeMessage first.") \
    X(24, QAPI_ERR_NO_FIELD_TAKEN,               "There is no field to take from referenced table", \
          "Nothing to do; chat records don't have this field.") \
    X(25, QAPI_ERR_READING_TMP_CONFIG,           "Reading temporal config file %s", \
          "Make the previous-date file readable, or remove it.") \
    X(26, QAPI_ERR_EMPTY_TMP_CONFIG,             "Empty temporal config file %s", \
          "Write a date YYYYMMDD into the previous-date file, or remove it.") \
    X(27, QAPI_ERR_INVALID_DATE,                 "Invalid date (%s) in the tmp config file (%s)", \
          "Write a real date YYYYMMDD into the previous-date file.") \
    X(28, QAPI_ERR_CANNOT_DELETE_TMP_CONFIG,     "Can not delete tmp config file %s", \
          "Make the working directory writable.") \
    X(29, QAPI_ERR_DATE_NOT_EXIST_DS,            "Messages asked of previous date (%s) not received. Shutdown the aplication and try again.", \
          "End the program and start it again, with another date if this one is too old.")
// clang-format on

#define QAPI_ERROR_CONSTANTS(code, name, text, advice)                                                                 \
    inline constexpr int name = code;                                                                                  \
    inline constexpr const char* name##_TXT = text;
QAPI_ERROR_TABLE(QAPI_ERROR_CONSTANTS)
#undef QAPI_ERROR_CONSTANTS

// A text without a code; nothing raises it.
inline constexpr const char* QAPI_ERR_TMP_CONFIG_BAD_DATA_TXT =
    "Config file (qapi_tmp_previos_date_log_request.txt) has incorrect line %d";

// Codes of OnStatusChanged are the TCP_... statuses of the connection.
inline constexpr int QAPI_STATUS_CANT_CONNECT = 7;
inline constexpr int QAPI_STATUS_DISCONNECTED = 20;
inline constexpr int QAPI_STATUS_CONNECTED = 21;
inline constexpr int QAPI_STATUS_SHUTTING_DOWN = 27;
