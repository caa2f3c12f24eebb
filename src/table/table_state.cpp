#include "table/table_state.h"

#include "qcapi/support.h"

namespace {

constexpr std::uint32_t range_limit = 1'000'000;
constexpr int first_table_number = 1000;

} // namespace

std::atomic<std::uint32_t> Glb_range_limit{range_limit};
std::atomic<std::uint32_t> glb_min_gtable_rec_index{0};
std::atomic<std::uint32_t> glb_max_gtable_rec_index{range_limit};
std::atomic<int> glb_valid_range{0};
std::atomic<int> Glb_range_limit_err_msg{0};
std::atomic<std::uint32_t> Glb_Unic_Number{0};
std::atomic<int> Glb_table_counter{first_table_number};

void qapi::Tell_Idx_Error(const char* format, std::uint32_t number)
{
    if (Glb_range_limit_err_msg.exchange(1) == 0) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // one of the two texts of the header
#pragma GCC diagnostic ignored "-Wformat-security"
        COMMON_Put_Syslog_Message(1, format, number);
#pragma GCC diagnostic pop
    }
}
