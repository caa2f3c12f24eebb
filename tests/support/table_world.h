// The tables of the process as a test wants them: empty, their rows as before any subscription, references registered,
// and what the configuration said of schemes and subscriptions forgotten. All of it again when the test is over.
#pragma once

#include "qcapi/config.h"
#include "qcapi/prefix.h"
#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"
#include "tblproc/tblequiv.h"
#include "tblproc/tblproc.h"

#include <cstring>
#include <initializer_list>
#include <mutex>
#include <string>
#include <utility>

class TableWorld
{
public:
    TableWorld()
    {
        Reset();
        PREFIX_Register();
    }
    ~TableWorld() { Reset(); }
    TableWorld(const TableWorld&) = delete;
    TableWorld& operator=(const TableWorld&) = delete;

    static void Subscribe(int type) { Glb_subscribed_code_table_id[type] = 1; }
    static void Subscribe_All()
    {
        for (int type = 1; type < MAX_CODE_ID; ++type) {
            Subscribe(type);
        }
    }
    static void Use_Scheme(const std::string& code)
    {
        std::memset(Glb_Esquema_Code, 0, sizeof Glb_Esquema_Code);
        code.copy(Glb_Esquema_Code, sizeof Glb_Esquema_Code - 1);
    }

    // A new record of the table, with these texts in its fields; its idx is the given one.
    template <class Table>
    auto& Put(ProcessLifetime<Table>& table, unsigned idx, std::initializer_list<std::pair<int, const char*>> texts)
    {
        auto record = Record_Of(table);
        for (const auto& [field_id, text] : texts) {
            record[field_id].Set_Text(text);
        }
        record[REC_IDX] = idx;
        const ReplicaLock lock;
        return *table->Insert_Local_Record(&record, nullptr);
    }

    // An empty record of the table's class.
    template <class REC, class KEYS> static REC Record_Of(ProcessLifetime<CTable<REC, KEYS, CTableList>>& /*table*/)
    {
        return REC();
    }

    static int Records_In(TableId id) { return Global_Table(id).get().Used_Num_Records(); }

private:
    static void Reset()
    {
        Forget_Table_Files();
        for (const GlobalTable& table : All_Global_Tables()) {
            table.delete_all_records();
            table.set_flags(TABLE_NOT_PUBLISHED);
        }
        TBLEQUIV_Forget_Codes();
        COMMON_Global_Codes_Clean();
        Use_Scheme("");
    }
};
