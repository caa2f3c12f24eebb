// Opening of a connection, login and its reply.
#include "session/exchange.h"

#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/qcapi.h"
#include "qcapi/session.h"
#include "reader/views.h"
#include "session/session_state.h"
#include "tblproc/subscription.h"
#include "transport/dcon.h"

#include <array>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr int EXPIRE_TIME_ASKED_FOR = 80; // seconds
constexpr char accepted = 'S';

unsigned opened_connection = 0; // the reader's latest

// The tables in these files start empty in every connection.
constexpr const char* files_of_a_connection[] = {"qapi.markets", "qapi.userper"};

void tell_connected()
{
    if (CQcApi* api = Current_Api()) {
        std::string text = "Connected";
        api->CallStatusChanged(TCP_STATUS_OPEN_CONNECTION, text.data());
    }
}

void fill_login(CMessage& login)
{
    const Credentials credentials = Copy_Credentials();
    std::array<char, 16> version{};
    std::snprintf(version.data(), version.size(), "%d%d%d%d", VER_HIGHER_1, VER_HIGHER_2, VER_LOWER_1, VER_LOWER_2);
    login[MSG_NUMBER_FIELD] = MSS_INGRESO_EQUIPO;
    login[EQUIPO_USUARIO].Set_Text(Glb_Local_Machine);
    login[TEXTO_CLAVE_SUCURSAL].Set_Text(Glb_Local_Machine);
    login[NOMBRE_USUARIO].Set_Text(credentials.user_name);
    login[CLAVE_USUARIO_16].Set_Text(credentials.password);
    login[BANDERA_FORMATO_CLAVE_USUARIO].Set_Text("U");
    login[VERSION].Set_Text(version.data());
    login[BANDERA_TIPO_PRIMARYUSER].Set_Text("d");
    login[BANDERA_NO_VALIDAR_CLAVE_SUCURSAL].Set_Text("");
    login[BANDERA_NO_ENVIAR_LOG].Set_Text("");
    login[BANDERA_USUARIO].Set_Text("S");
    login[TIEMPO_EXPIRACION_CONEXION] = EXPIRE_TIME_ASKED_FOR;
    login[BANDERA_MOTOR_CALCE].Set_Text("");
    login[DIRECCION_IP_REAL_PU].Set_Text(COMMON_Get_IP_LocalHost());
}

template <std::size_t Size> void copy_field(char (&target)[Size], CField& field)
{
    static_assert(Size > 0);
    std::memcpy(target, field.Get_Ptr(), Size - 1);
}

struct Refusal
{
    char letter;
    int code;
    const char* text;
};

constexpr Refusal refusals[] = {
    {'C', QAPI_ERR_RC_ILLEGAL_PASSWORD, QAPI_ERR_RC_ILLEGAL_PASSWORD_TXT},
    {'D', QAPI_ERR_RC_NO_DMACHINES_TRY_LATER, QAPI_ERR_RC_NO_DMACHINES_TRY_LATER_TXT},
    {'E', QAPI_ERR_RC_MACHINE_NOT_REGISTERED, QAPI_ERR_RC_MACHINE_NOT_REGISTERED_TXT},
    {'L', QAPI_ERR_RC_ILLEGAL_BRANCH_PASSWORD, QAPI_ERR_RC_ILLEGAL_BRANCH_PASSWORD_TXT},
    {'N', QAPI_ERR_RC_USERNAME_DONOT_EXIST, QAPI_ERR_RC_USERNAME_DONOT_EXIST_TXT},
    {'R', QAPI_ERR_RC_DUPLICATED_MACHINE_CODE, QAPI_ERR_RC_DUPLICATED_MACHINE_CODE_TXT},
    {'X', QAPI_ERR_RC_NOT_AUTHORIZED_USER, QAPI_ERR_RC_NOT_AUTHORIZED_USER_TXT},
};
constexpr Refusal any_other{'\0', QAPI_ERR_REJECTED_CONNECTION, QAPI_ERR_REJECTED_CONNECTION_TXT};

const Refusal& refusal_of(int letter)
{
    for (const Refusal& refusal : refusals) {
        if (refusal.letter == letter || ascii_lower(refusal.letter) == letter) {
            return refusal;
        }
    }
    return any_other;
}

void refused(unsigned connection, int letter)
{
    qapi::Report_Refusal(letter);
    if (CQcApi* api = Current_Api()) {
        api->OnConnection(letter); // past the wrapper: this one call waits for no other callback
    }
    DCON_Restart_Connection(*glb_DCon_DESCR, connection);
}

} // namespace

void qapi::Session_Opened(unsigned connection, unsigned host, char source_letter)
{
    opened_connection = connection;
    Glb_main_connected = 1;
    TBLPROC_Reset_Primary_Tables_Check(); // what an older connection still awaited is not this one's
    Choose_Server(host);
    std::memcpy(Glb_Current_DS, *glb_ds_dest, sizeof *glb_ds_dest);
    LOG_Text("-RO%c-Status changed to opened connection", source_letter);
    tell_connected();
    LOG_Text("Status changed to opened connection reported");
    Trace_Step(4);
    LOG_Text("Sending login requirements");
    COMMON_Send_Login();
    LOG_Text("Login requirements sent");
    Trace_Step(5);
    for (const char* name : files_of_a_connection) {
        COMMON_Table_Delete(L_dir_name->c_str(), name);
    }
}

void COMMON_Send_Login()
{
    if (glb_DCon_DESCR->fhost[0] == 0) {
        qapi::Open_Session(opened_connection, nullptr);
        return;
    }
    CMsgLogin login; // cleared, whatever the last one held
    fill_login(login);
    qapi::Open_Session(opened_connection, &login);
}

void qapi::Login_Replied(unsigned connection)
{
    CMsgLogin& reply = *Glb_cur_login_msg;
    reply.Init();
    Trace_Step(9);
    if (static_cast<char>(reply[CODIGO_PRIMARYUSER]) == '$' || static_cast<char>(reply[LOG]) == 'S') {
        return;
    }
    copy_field(Glb_Branch_4c, reply[CODIGO_SUCURSAL_INGRESADA_4C]);
    copy_field(Glb_PU_Code, reply[EQUIPO_USUARIO]);
    const char letter = reply[BANDERA_LOGIN];
    if (letter != accepted) {
        refused(connection, static_cast<unsigned char>(letter));
        return;
    }
    copy_field(Glb_req_date, reply[FECHA_ULTIMO_MENSAJE_RECIBIDO_DESDE_PU]);
    Glb_req_message_num = reply.Word_Of(ULTIMO_MENSAJE_RECIBIDO_DESDE_PU);
    const int seconds = reply[TIEMPO_EXPIRACION_CONEXION];
    DCON_Set_Expire_Time(*glb_DCon_DESCR, connection, static_cast<unsigned short>(seconds));
}

int qapi::Report_Refusal(int letter)
{
    const Refusal& refusal = refusal_of(letter);
    LOG_Text("Error code %d, txt %s, nxt_a %d", refusal.code, refusal.text, QAPI_NEXT_ACTION_RECONNECT);
    if (CQcApi* api = Current_Api()) {
        std::string text = refusal.text;
        api->CallReportError(refusal.code, text.data(), QAPI_NEXT_ACTION_RECONNECT, 0);
    }
    return refusal.code;
}

int CQcApi::MakeLoginReportError(int letter)
{
    return qapi::Report_Refusal(letter);
}
