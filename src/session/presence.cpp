// What a client tells of itself: its record among the connected users, and its version.
#include "session/exchange.h"

#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "records/reference.h"
#include "records/session.h"
#include "session/session_state.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblequiv.h"

#include <array>
#include <string>
#include <string_view>

namespace {

constexpr int class_of_version_message = 1;
constexpr int is_primary_user = 1;
constexpr int state_connected = 2;

// The first number with its dot, then the others without theirs.
constexpr auto version_of_objects = [] {
    constexpr std::string_view full = QAPI_STR_VERSION;
    std::array<char, full.size()> text{};
    std::size_t len = 2;
    text[0] = full[0];
    text[1] = full[1];
    for (std::size_t i = 2; i < full.size() && len < full.size() - 2; ++i) {
        if (full[i] != '.') {
            text[len++] = full[i];
        }
    }
    return text;
}();

std::string build_date()
{
    std::array<char, 9> date{};
    COMMON_Change_Format_Date(Glb_compilation_date, date.data());
    return date.data();
}

std::string build_hour()
{
    std::array<char, 7> hour{};
    COMMON_Change_Format_Hour(Glb_compilation_time, hour.data());
    return hour.data();
}

std::string own_address()
{
    return Glb_run_log_testing != 0 ? "127.0.0.1" : COMMON_Get_IP_LocalHost();
}

} // namespace

void SendVersionInformation()
{
    CMsgVrsCtrl version;
    version[MSG_NUMBER_FIELD] = MSS_VERSION_CONTROL;
    version[CODIGO_PRIMARYUSER_CONTROL_VRSCTRL].Set_Text(Glb_Local_Machine);
    version[SUCURSAL_REMITENTE_VRSCTRL].Set_Text(Gbl_Branch_Code);
    version[CLASE_MENSAJE_VRSCTRL] = class_of_version_message;
    version[SUCURSAL_4C_VRSCTRL].Set_Text(Glb_Branch_4c);
    version[VERSION_OBJETOS_VRSCTRL].Set_Text(version_of_objects.data());
    version[VERSION_SISTEMA_VRSCTRL].Set_Text("QAPI");
    version[CODIGO_USUARIO_VRSCTRL].Set_Text(Glb_User_Code);
    version[NOMBRE_USUARIO_VRSCTRL].Set_Text(Copy_Credentials().user_name);
    version[NUMERO_ARCHIVOS_DATOS_INMEDIATOS_VRSCTRL] = 0U;
    version[NUMERO_ARCHIVOS_OBJETOS_INMEDIATOS_VRSCTRL] = 0U;
    version[FECHA_WDF_VRSCTRL].Set_Text(build_date());
    version[HORA_WDF_VRSCTRL].Set_Text(build_hour());
    Send_Msg_Qapi_Connected(); // it leaves first
    COMMON_Put_Message_In_Send_Queue(&version, 5, nullptr, 0, nullptr);
}

void Send_Msg_Qapi_Connected()
{
    CGTConnUser user;
    user[MSG_NUMBER_FIELD] = MSS_TABLA_GLOBAL;
    user[I_OP].Set_Text(std::string_view(&DATA_INSERT_CHAR, 1));
    user[DATA_CODE] = static_cast<unsigned short>(TABLENUM_CONNUSER);
    user[REC_IDX] = glb_min_pu_connected_gtable_rec_index;
    user[ENVIRONMENT] = Glb_range_environment.load();
    user[BANDERA_PRIMARYUSER_CONNUSER] = is_primary_user;
    user[SUCURSAL_4C_CONNUSER].Set_Text(Glb_Branch_4c);
    user[CODIGO_PRIMARYUSER_CONNUSER].Set_Text(Glb_PU_Code);
    user[CLASE_USUARIO_CONNUSER].Set_Text("P");
    user[BANDERA_VISIBILIDAD_CONNUSER].Set_Text("");
    user[ESTADO_CONNUSER] = state_connected;
    user[CODIGO_COMPLETO_DATASERVER_CONNUSER].Set_Text(Glb_Current_DS);
    user[SUCURSAL_CONNUSER].Set_Text(Gbl_Branch_Code);
    user[NOMBRE_USUARIO_CONNUSER].Set_Text(Copy_Credentials().user_name);
    user[CODIGO_USUARIO_CONNUSER].Set_Text(Glb_User_Code);
    user[DIRECCION_IP_LOCAL_CONNUSER].Set_Text(own_address());
    COMMON_Put_Message_In_Send_Queue(&user, 4, nullptr, 0, nullptr);
}
