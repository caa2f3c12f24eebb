// The tables that are kept in files.
#include "tblproc/tblproc.h"

#include "persis/persis.h"
#include "persis/table_pers_file.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/support.h"
#include "tblproc/replica_lock.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>

namespace {

// One row a table: kind of file, its name, bytes of DATA_INFO that it keeps, and the name that a failure is told with.
struct KeptTable
{
    TableId id;
    unsigned file_code;
    const char* file_name;
    unsigned rec_size;
    const char* told_name;
};

// In the order in which they are opened.
// clang-format off
constexpr KeptTable kept_tables[] = {
    {TableId::Glb_Branches_Table,      PERS_BRANCHNUM_CODE,  "qapi.branches",    331, "qapi.branches"},
    {TableId::Glb_Instit_Table,        PERS_INSTITNUM_CODE,  "qapi.instit",      127, "qapi.instit"},
    {TableId::Glb_City_Table,          PERS_CITY_CODE,       "qapi.city",        154, "qapi.city"},
    {TableId::Glb_Country_Table,       PERS_COUNTRY_CODE,    "qapi.country",     272, "qapi.country"},
    {TableId::Glb_Primaryuser_Table,   PERS_PYUSER_CODE,     "qapi.pryuser",      52, "qapi.pryuser"},
    {TableId::Glb_Money_Table,         PERS_MONEY_CODE,      "qapi.money",       165, "qapi.money"},
    {TableId::Glb_InsPerm_Table,       PERS_INSPERM_CODE,    "qapi.insperm",     295, "qapi.insperm"},
    {TableId::Glb_IntSuperGroup_Table, PERS_SUPERGROUP_CODE, "qapi.supergrp",    296, "qapi.supergrp"},
    {TableId::Glb_IntVoiceGroup_Table, PERS_VOICEGROUP_CODE, "qapi.voicegrp",    322, "qapi.voicegrp"},
    {TableId::Glb_Emisores_Table,      PERS_EMISORES_CODE,   "qapi.emis",        111, "qapi.emis"},
    {TableId::Glb_Comitentes_Table,    PERS_COMITENT_CODE,   "qapi.comitent",    182, "qapi.comitent"},
    {TableId::Glb_Fiduciarios_Table,   PERS_FIDUCIAR_CODE,   "qapi.fiduciar",    106, "qapi.fiduciar"},
    {TableId::Glb_Employee_Table,      PERS_EMPLOYEE_CODE,   "qapi.emp",         161, "qapi.emp"},
    {TableId::Glb_Esquema_Table,       PERS_ESQUEMA_CODE,    "qapi.esq",         115, "qapi.esq"},
    {TableId::Glb_SubComitente_Table,  PERS_SUBCOMITENT_CODE,"qapi.subcomitent",  82, "qapi.comitent"},
};
// clang-format on

bool L_persistent_associated = false;
unsigned L_min_range = 0;
unsigned L_max_range = 0;

bool is_kept(const KeptTable& kept)
{
    return kept.id != TableId::Glb_Esquema_Table || Glb_Esquema_Code[0] != '\0';
}

// The sink of PERSIS_Report_Error.
void TBLPROC_Take_error(char* text, int level)
{
    COMMON_Put_Syslog_Message(1, "Persistent file error level %d, detail: %s", level, text);
}

int open_file(const KeptTable& kept)
{
    std::unique_ptr<qapi::PersTableFile> file =
        qapi::PersTableFile::Open(kept.file_code, kept.file_name, kept.rec_size);
    if (file == nullptr) {
        COMMON_Put_Syslog_Message(1, PERSIS_FILE_ERROR, kept.told_name, static_cast<unsigned>(errno));
        return 0;
    }
    Global_Table(kept.id).keep_in(std::move(file));
    return 1;
}

int TBLPROC_Check_Open()
{
    PERSIS_SetErrFunction(TBLPROC_Take_error);
    int opened = 0;
    for (const KeptTable& kept : kept_tables) {
        if (is_kept(kept)) {
            opened = open_file(kept);
        }
    }
    return opened;
}

// The schemes come last.
void load_files()
{
    for (const KeptTable& kept : kept_tables) {
        if (kept.id != TableId::Glb_Esquema_Table) {
            Global_Table(kept.id).load();
        }
    }
    if (Glb_Esquema_Code[0] != '\0') {
        Global_Table(TableId::Glb_Esquema_Table).load();
    }
}

int loaded_records()
{
    int records = 0;
    for (const KeptTable& kept : kept_tables) {
        records += Global_Table(kept.id).get().Used_Num_Records();
    }
    return records;
}

// Written when the lock is gone.
void tell_load(int records, std::chrono::steady_clock::duration time)
{
    LOG_Text("-Tables loaded from their files: %d records in %.1f ms.", records,
             std::chrono::duration<double, std::milli>(time).count());
}

} // namespace

int TBLPROC_Load_Persistent_Files(unsigned int min, unsigned int max)
{
    int opened = 0;
    int records = 0;
    const auto begin = std::chrono::steady_clock::now();
    {
        const ReplicaLock lock;
        if (!L_persistent_associated) {
            opened = TBLPROC_Check_Open();
            L_persistent_associated = true;
        }
        if (min == L_min_range && max == L_max_range) {
            return opened;
        }
        load_files();
        L_min_range = min;
        L_max_range = max;
        records = loaded_records();
    }
    tell_load(records, std::chrono::steady_clock::now() - begin);
    return opened;
}

void qapi::Forget_Table_Files()
{
    for (const KeptTable& kept : kept_tables) {
        Global_Table(kept.id).keep_in(nullptr);
    }
    L_persistent_associated = false;
    L_min_range = 0;
    L_max_range = 0;
}
