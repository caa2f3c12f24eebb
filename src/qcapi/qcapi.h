// The interface of the library: derive from CQcApi, override the callbacks you need, construct one object, call Login.
//
// One object per process. Its state is the process's: a second object would share every table and ring with the first.
#pragma once

#include <qcapi/errors.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#if defined(__GNUC__)
#define QAPI_EXPORT __attribute__((visibility("default")))
#else
#define QAPI_EXPORT
#endif

#define QAPI_DESCRIPTION "Quentar-API Interface Program"
#define QAPI_STR_VERSION "3.0.0.8"

// The version that a login tells the server; it differs from the text version on purpose.
inline constexpr int VER_HIGHER_1 = 3;
inline constexpr int VER_HIGHER_2 = 0;
inline constexpr int VER_LOWER_1 = 0;
inline constexpr int VER_LOWER_2 = 3;

// Values of CQcApi::initialize_flag.
inline constexpr int QAPI_NOT_INITIALIZED = 0;
inline constexpr int QAPI_INITIALIZED = 1;       // by Login
inline constexpr int QAPI_INITIALIZED_AS_DS = 2; // by Connect

class CFitFields;
class CMessage;
class CQcApi;

namespace qapi {
class Master_Mutex;
class ReportHold;
} // namespace qapi

/// What CQcApi::DescribeField tells of a field.
struct QapiField
{
    int type;           ///< as GetField returns it: 1 to 8
    int length;         ///< in bytes, of the whole field or of the element that the name tells of
    int decimals;       ///< of a number of type 5; 0 of all others
    int elements;       ///< of a repeating field, as many as it has room for; 1 of all others
    int element_length; ///< in bytes; the length where nothing repeats
};

/// The one object of the process, set by its constructor and cleared by its destructor. The library's own definition is
/// weak: a host may define the variable itself, or leave it.
QAPI_EXPORT extern CQcApi* Cur_Qapi;

/**
 * @brief A session with the market.
 *
 * Threads: a running session has four threads of its own (log, reader, sender, connection). OnMessageReceived,
 * OnConnection, OnDisconnection and OnStatusChanged run on the reader thread, OnError on any thread. One callback runs
 * at a time, except that callbacks on the thread that built the object (OnError from a failing Login, say) don't wait
 * for others. A callback that blocks stalls reception; the library buffers without bound meanwhile.
 *
 * Login, Connect and Logout run one at a time: a Login meanwhile is refused with 17, a Logout waits for its turn.
 * Message and field operations that compose or read share one current message and are called from one thread at a time
 * too.
 *
 * Every text argument is zero-terminated and is not kept after the call, unless a line says otherwise.
 *
 * A derived class calls Logout in its own destructor: when the base's destructor runs, the derived callbacks are gone.
 */
class QAPI_EXPORT CQcApi
{
protected:
    /// Calls Logout, which also waits for threads that LogoutForce left; in a callback it waits for none.
    virtual ~CQcApi();

public:
    // ---- Callbacks: override what you need ---------------------------------------------------------------------

    /**
     * @brief A record has entered a received-message table.
     * @param message_type the name to pass to TakeMessage; the library's, valid during the call
     * @param message_num  the record's number within that name's table
     */
    virtual void OnMessageReceived(char* message_type, unsigned int message_num);

    /**
     * @brief The session is ready, or the login was refused.
     * @param result_code 0: ready. Otherwise the character by which the server refused; the library tries again.
     */
    virtual void OnConnection(int result_code);

    /**
     * @brief The connection closed. The library reconnects by itself.
     * @param reason_code state of the connection at that moment
     * @param reason_text why it closed; the library's, valid during the call
     */
    virtual void OnDisconnection(int reason_code, const char* reason_text);

    /**
     * @brief Something failed, or wants to be known.
     * @param error_code       a code of errors.h, 0 for a notice, or 23001 for an internal report
     * @param error_text       the library's, valid during the call
     * @param next_action_code a QAPI_NEXT_ACTION_... value
     * @param next_action_data always 0
     */
    virtual void OnError(int error_code, char* error_text, int next_action_code, int next_action_data);

    /**
     * @brief The connection's state changed: 21 "Connected", 20 "Disconnected", 7 "Can't connect", 27 when a session
     *        stops. Silent while the process exits.
     * @param status_code a QAPI_STATUS_... value
     * @param status_text the library's, valid during the call
     */
    virtual void OnStatusChanged(int status_code, char* status_text);

    // ---- Lifecycle ---------------------------------------------------------------------------------------------

    /// Remembers the constructing thread as the master thread and makes this the process's object.
    CQcApi();
    CQcApi(const CQcApi&) = delete;
    CQcApi& operator=(const CQcApi&) = delete;

    /**
     * @brief Reads "qapi.cfg" in the working directory and starts a session; its outcome comes by callback. With a
     *        testing_file directive a stored log stands in for the connection; with testing_output_file too, the log
     *        is translated before this returns, and no session runs behind it.
     * @param user_name at most 10 characters; empty or null keeps the last one. A user_name directive overrides it.
     * @param password  at most 16 characters; empty or null keeps the last one. A password directive overrides it.
     * @return 0 when the threads run, else a code that was also reported: 17 already running (name and password are
     *         taken over even then), 1 to 3 and 21 from the configuration, 25 to 28 from the previous-date file, 29
     *         when an earlier previous-date request was never answered.
     */
    int Login(char* user_name, char* password);

    /**
     * @brief Starts in the data-server role, without a login: the peer logs in here. The host hears that by
     *        OnMessageReceived("User_Entered", 0), and of no OnConnection; CallDataReceived shows it what else comes.
     *        The testing directives count as for Login.
     * @param thost     dotted address to connect to, or "0.0.0.0" to listen; at most 60 characters
     * @param tport     TCP port; 0 leaves the choice of servers to the configuration file
     * @param conf_data not looked at
     * @param conf_code not looked at
     * @return 0, 17 when already running, or the configuration's code. In the last case the threads run all the same,
     *         and the host must stop them.
     */
    int Connect(char* thost, int tport, char* conf_data, int conf_code);

    /**
     * @brief Stops the session and waits for its threads, at most 35 seconds; if one still runs then, the process is
     *        ended by a deliberate crash. Pending callbacks are let through meanwhile.
     *
     * On one of the library's own threads (in a callback) it can't wait for itself: there it does what LogoutForce
     * does. After Connect nothing stops the log thread, so Logout ends in the crash: leave that role with LogoutForce,
     * then Logout, which stops and joins what is left, and the end of the process.
     *
     * @return 0, or 4 if nothing runs
     */
    int Logout();

    /// Stops the session without waiting; for callbacks. The next Login, Connect, Logout or the destructor waits for
    /// the threads that are left. @return 0, or 4 if nothing runs
    int LogoutForce();

    // ---- Received messages ---------------------------------------------------------------------------------------
    // A record waits in its table from OnMessageReceived until it is finished, or until its connection closes: then all
    // records that wait are removed, without a word, and repeats of them are refused until the next Login. Any thread,
    // also inside the callback. One record is taken at a time, for the whole process: threads that read take turns.

    /**
     * @brief Selects a received record for the GetField operations. Copies nothing: the record stays in its table.
     *
     * Once the record is finished, or went with its connection, reads show what it last held, or another record that
     * took its place. A number that is not found takes the last record away.
     * @param message_type any of the record's names, any case
     * @param message_num  the number that OnMessageReceived gave
     * @return 0, 4, 15 unknown name or one without a table, 18 no such record; 15 and 18 are also reported
     */
    int TakeMessage(char* message_type, unsigned int message_num);

    /**
     * @brief Declares a received record done and removes it; the next session resumes behind it.
     *
     * A message that is not finished holds the number up from which the next session resumes. Who replies with a copy
     * of the record does so first.
     * @param message_type any of the record's names, any case; an empty one is unknown
     * @param message_num  the number that OnMessageReceived gave
     * @return as TakeMessage; 0 for a table record that is already gone
     */
    int FinishMessageProcess(char* message_type, unsigned int message_num);

    /**
     * @brief Copies a field of the taken record.
     *
     * A name that the record doesn't have is reported with code 14, and so is a call without a taken record. "mercado",
     * "clase_mensaje" and "bandera" of a chat are not reported.
     * @param field_name path of the field, any case, at most 1023 characters: "precio"; "usuario.nombre_completo", a
     *                   field of the record that the code names; "receptor[2]", an element
     * @param data_copy  receives the field's raw bytes and a zero; the caller's, one byte longer than the field
     * @return the field's type: 1 short, 2 unsigned short, 3 unsigned int, 4 number in digits, 5 decimal number in
     *         digits, 6 text, 7 int, 8 date; binary numbers are little-endian. 0 on failure (data_copy is then empty).
     */
    int GetField(char* field_name, char* data_copy);

    /**
     * @brief Walks the named fields of the taken record, and of the records that its codes name.
     * @param field_name starts as an empty text, receives each field's path and is passed in again; the caller's,
     *                   1024 bytes. A path to no field of a record that a code names, as "usuario.~", goes on behind
     *                   the code: so a host passes over records that it doesn't want
     * @param data_copy  as in GetField
     * @return the field's type, 0 at the end, which is not reported (data_copy is then empty)
     */
    int GetNextField(char* field_name, char* data_copy);

    /**
     * @brief Reads back a field of the message being composed.
     * @param field_name path of the field, any case
     * @param data_copy  not looked at
     * @return the value as text, binary numbers in digits; "" on failure. The library's, until the thread's next call.
     */
    char* GetSField(char* field_name, char* data_copy);

    /**
     * @brief Copies a field of the taken record, as GetField does.
     * @return the field's length in bytes, 0 on failure (data_copy is then untouched)
     */
    int GetFieldBSTR(char* field_name, char* data_copy);

    /**
     * @brief Copies a date field of the taken record.
     * @param date_copy receives 8 bytes YYYYMMDD, without a zero; the caller's. Of a field that is shorter, what it
     * has, and zeros.
     * @return 8, 0 on failure (date_copy is then untouched)
     */
    int GetFieldDATE(char* field_name, char* date_copy);

    /// @return a field of the taken record as a number, 0 on failure. It comes through an int: an unsigned value above
    ///         2147483647 is negative, where long has 64 bits too; static_cast<unsigned> gives it back.
    long GetFieldLONG(char* field_name);

    /// @return 1 if the taken record has the field, else 0, which is also reported
    int IsDefined(char* field_name);

    // ---- Messages to send ----------------------------------------------------------------------------------------
    // One message is composed at a time, in one thread: InitMessage, any number of SetField..., SendMessageTo for an
    // order, SendMessage. `message_type` names the kind; an empty or null name keeps to the kind of the taken record.
    //
    // Orders (Orden_Transaccion, Orden_Transaccion_RFQ), Tarnel, TarnelWh, Chat and the table kinds leave. All other
    // kinds that can be composed go nowhere, although SendMessage returns 0.

    /**
     * @brief Starts a message, all its fields empty; with an empty name, as a copy of the taken record. Forgets the
     *        addressees of SendMessageTo.
     *
     * Reply before you finish: FinishMessageProcess takes the record away.
     *
     * @return 0, 4 when nothing runs, 15 for a name that can't be composed (also reported), or if no record is taken
     */
    int InitMessage(char* message_type);

    /**
     * @brief Sets a field from text: as many bytes as the field is long are read from new_value, whatever its
     *        terminator says.
     * @param field_name path of the field, any case; a field of another record, to which a path leads, can't be set.
     *                   Elements can't either: "receptor[2]", once the message has two receivers, writes the first one;
     *                   set the whole field
     * @param new_value  null empties the field
     * @return 0, 4, 15, or 16 for a field that the message does not have (also reported)
     */
    int SetFieldBSTR(char* message_type, char* field_name, char* new_value);
    /// Sets a date field from 8 characters YYYYMMDD. @return as SetFieldBSTR
    int SetFieldDATE(char* message_type, char* field_name, char* new_value);
    /// Sets a field from a number. One that doesn't fit 32 bits is reported and leaves the field, with 16.
    /// @return as SetFieldBSTR
    int SetFieldLONG(char* message_type, char* field_name, long new_value);
    /// Sets a field from an unsigned number. @return as SetFieldBSTR
    int SetFieldUINT(char* message_type, char* field_name, unsigned int new_value);

    /**
     * @brief Stamps the message and queues it. Sleeps first, in the calling thread, if send_msg_delay_millisec asks
     *        for a pause since the last one.
     *
     * An order gets machine, user, institution, date and hour of this client, and its number follows from its market
     * (use_msg_code); it goes to the addressees of SendMessageTo and to the data managers. In all other messages the
     * whole envelope is replaced, what was set in it is lost. A chat longer than a record of 3300 bytes is cut, which
     * is reported.
     *
     * @return 0, 4 or 15. It says nothing about the network: what is queued when a connection closes is dropped, and
     *         so is what is sent while there is none, or before the login of a new one has been sent.
     */
    int SendMessage(char* message_type);

    /**
     * @brief Adds an addressee of the next order. Other messages have receivers of their own, and drop it.
     * @param address_data two characters of identifier, then the name; 150 bytes for all of one message's, terminators
     *                     counted. One that doesn't fit, or has less than two characters, is reported and left out
     * @return 0, always
     */
    int SendMessageTo(char* address_data);

    /// Has no effect; both arguments are ignored. @return 0, or 4 if nothing runs
    int LastAcknowledgedMessage(char* date, unsigned int message_num);

    // ---- What a field is ------------------------------------------------------------------------------------------

    /**
     * @brief Tells what a named field of a kind is. Needs no session and no object; any thread; nothing is reported.
     * @param message_type any of the kind's names, any case; a kind that a host receives or composes
     * @param field_name   a field of its own, any case: "precio"; "receptor[2]" is an element. A path through a '.' is
     *                     none
     * @param field        receives the answer; the caller's, left alone on failure
     * @return 0, 15 for an unknown kind, 16 for an unknown field
     */
    static int DescribeField(const char* message_type, const char* field_name, QapiField* field);

    // ---- Conditions on received messages -------------------------------------------------------------------------

    /**
     * @brief Adds a condition on the received messages of a kind: one that doesn't meet them never reaches the host,
     *        and counts as done.
     *
     * Conditions are evaluated in the order in which they were added, comparisons first and the connective behind
     * them: a, b, "&". Without a connective the last one alone decides. They hold until Logout, over reconnections and
     * LogoutForce; add them before Login, or from any thread while messages come. Conditions on Tarnel and TarnelWh
     * look at the message of that kind that the host composes, not at the received one.
     *
     * @param message_type   name of the kind
     * @param field_name     path of the field to compare, any case; or "&" or "|", which join the two results before
     * @param cond_operation "==" or "=", "like", "not like", any case; anything else never holds
     * @param eq_value       text to compare with; of like: % is any run of characters, * and _ one, [abc] one of a set.
     *                       One that begins with & or | makes the condition that connective
     * @return 0, 15 for an unknown kind, 16 for an unknown field; both are also reported
     */
    int AddLoginCondition(char* message_type, char* field_name, char* cond_operation, char* eq_value);

    /// @return 1 if messages of number `message_t` are subscribed and the conditions accept this one, which lies in the
    ///         reader's buffer; else 0. For the reader thread.
    int FitConditions(int message_t, CMessage* message);

    // ---- Callback wrappers -----------------------------------------------------------------------------------------
    // Called by the library, on the thread that has the news: each waits for its turn, then calls the callback.

    void CallMessageReceived(char* message_type, unsigned int message_num);
    void CallOnConnection(int result_code);
    void CallOnDisconnection(int reason_code, const char* reason_text);
    void CallReportError(int error_code, char* error_text, int next_action_code, int next_action_data);
    void CallStatusChanged(int status_code, char* status_text);
    /**
     * @brief Sees every message before it is acted on. Does nothing; a host may override it, and so a data server's
     *        host hears what the library leaves to it. Runs on the reader thread, and waits for no callback: others
     *        may run at the same time.
     * @param source_id    identity of the connection
     * @param message_name the name of its kind; valid during the call
     * @param message_data the message from its number on, zeros behind it; the reader's, valid during the call
     */
    virtual void CallDataReceived(const char* source_id, char* message_name, char* message_data);

    // ---- When callbacks may come -----------------------------------------------------------------------------------

    /**
     * @brief Keeps the callbacks of other threads out. Counts: each call that returned 1 wants its release.
     * @return 1 if taken, 0 on the master thread, which takes nothing
     */
    int TakeMasterMutex();
    /// Lets callbacks in again. Does nothing on a thread that took nothing.
    void ReleaseMasterMutex();

    /**
     * @brief While one lives, the reports that its thread raises wait; when the thread's last one goes, the running log
     *        and OnError get them, in order.
     *
     * For a host that calls operations under a lock which its callbacks take too: a report waits for the callback that
     * runs, and that may wait for the lock. Declare it before the lock, on the stack.
     */
    class QAPI_EXPORT ReportsHeld
    {
    public:
        ReportsHeld();
        ~ReportsHeld();
        ReportsHeld(const ReportsHeld&) = delete;
        ReportsHeld& operator=(const ReportsHeld&) = delete;

        /// Forgets what was raised since this one began: neither log nor host hears of it.
        void Drop();

    private:
        std::unique_ptr<qapi::ReportHold> m_hold;
    };

    /**
     * @brief For a host that wants callbacks only at moments of its choosing.
     *
     * From the first call on, callbacks wait; each call lets those through that wait at that moment, on their own
     * threads, and returns when they have run. Logout lets them through too.
     */
    void ProcessMyEvents();

    // ---- Preparation and versions ----------------------------------------------------------------------------------

    /// Opens the log, reads the configuration and empties the rings. Called by Login and Connect; does nothing while a
    /// session runs. @return 0 or a code of Login
    int Initialize();
    /// Writes "x86" and a zero into the caller's 4 bytes. @return 1
    int GetCompilationType(char* type);
    /// Writes "3.0.0.8" and a zero into the caller's 8 bytes. @return 1
    int GetVersion(char* version);

    static std::atomic<int> initialize_flag; ///< QAPI_NOT_INITIALIZED, QAPI_INITIALIZED or QAPI_INITIALIZED_AS_DS
    static std::atomic<bool> atexitqapi;     ///< true while the process-exit hook runs
    static int m_verbose_mode;               ///< not looked at

protected:
    /// The three readers of the configuration; their texts go to last_error_msg. @return 0 or a code of Login
    int Read_Conf_File(char* path);
    int Read_Tmp_Conf_File(char* path);
    int Process_Tmp_Config_File();
    /// Reports why a server refused a login. @return the code that its letter, of either case, stands for
    int MakeLoginReportError(int letter);
    /// Formats an error text of at most 199 characters into a buffer of the calling thread.
    char* Get_Error_Text(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Removes what must not outlive a connection: all received messages that wait for the host, and the tables that
    /// are not kept in files. Takes mutex_lock, so a host's thread that works on a received record is not disturbed.
    static void QAPI_Clean_Tables();
    static void* Process_Messages(void* unused);
    static void* Process_DS_Messages(void* unused);

private:
    int Report_Already_Initialized();
    void Start_Threads(void* (*reader)(void*));
    void Translate_Log();
    void Finish_Session();
    static void Join_Left_Threads();
    static void AtExitQcApi();
    static void Stop_At_Exit();

    char dest_host[60 + 1] = {};      // host text given to Connect; a spare zero behind it
    short dest_port = 0;              // port given to Connect; 0: the configuration alone chooses the servers
    std::string last_error_msg;       // text of the last failure of Initialize or of the configuration readers
    std::mutex& mutex_lock;           // guards the mailboxes; lives as long as the process
    qapi::Master_Mutex& master_mutex; // one callback at a time; lives as long as the process
    CFitFields& m_fit_fields;         // conditions on received messages; lives as long as the process
};
