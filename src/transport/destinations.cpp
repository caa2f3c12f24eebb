// Servers and hosts rely on the small differences between the lists: which of the two tests, for a repeated element and
// for the limit, comes first decides whether a repeated element is reported on a full list.
#include "transport/destinations.h"

#include "qcapi/support.h"
#include "transport/generic_entry.h"

#include <cstring>

constinit CDestinationsList glb_ds_dest_list{NORMAL_DEST};
constinit CDestinationsList glb_ds_dest_list_to_DS{DS_DEST};
constinit CDestinationsList glb_ds_dest_list_to_DGI{DGI_DEST};
constinit CDestinationsList glb_dm_dest_list{NORMAL_DEST};
constinit CDestinationsList glb_work_dest_list{NORMAL_DEST};
constinit CDestinationsList glb_work_dest_list_to_DS{DS_DEST};
constinit CDestinationsList glb_nul_dest_list_to_DS{DS_DEST};
constinit CDestinationsList glb_nul_dest_list_to_DGI{DGI_DEST};
constinit CDestinationsList glb_nul_dest_list_to_DMDI{DMDI_DEST};

namespace {

constexpr char too_many_users[] = "Number of maximum target PU's in a message has been exceeded.";
constexpr char too_many_branches[] = "Number of maximum target Branches in a message has been exceeded.";
constexpr char too_many_institutions[] = "Number of maximum target Institutions in a message has been exceeded.";
constexpr char too_many_groups[] = "Number of maximum target Groups in a message has been exceeded.";
constexpr char too_long_generic[] = "Size of generic destination in a message has been exceeded.";

bool is_empty(const char* element)
{
    return element == nullptr || element[0] == '\0';
}

template <std::size_t size> bool contains(const char (&list)[MAX_DEST_ELEMENTS][size], int elements, const char* wanted)
{
    for (int i = 0; i < elements; ++i) {
        if (std::memcmp(list[i], wanted, size) == 0) {
            return true;
        }
    }
    return false;
}

bool has_room(int elements, const char* refusal)
{
    if (elements < MAX_DEST_ELEMENTS) {
        return true;
    }
    COMMON_Put_Syslog_Message(1, "%s", refusal);
    return false;
}

// The element may be one of this very list, behind a CleanList.
template <std::size_t size> int append(char (&list)[MAX_DEST_ELEMENTS][size], int& elements, const char* element)
{
    std::memmove(list[elements], element, size);
    ++elements;
    return 1;
}

template <std::size_t size>
int append_if_room(char (&list)[MAX_DEST_ELEMENTS][size], int& elements, const char* element, const char* refusal)
{
    return has_room(elements, refusal) ? append(list, elements, element) : 0;
}

} // namespace

void CDestinationsList::CleanList()
{
    m_gen_dest_len = 0;
    m_dest_elements = 0;
    m_branch_elements = 0;
    m_exclude_dest_elements = 0;
    m_instit_elements = 0;
    m_group_elements = 0;
}

const int* CDestinationsList::Get_Numbers()
{
    m_numbers = {m_dest_elements, m_branch_elements, m_exclude_dest_elements, m_instit_elements, m_group_elements};
    return m_numbers.data();
}

int CDestinationsList::Add_in_PU_List(const char* primary_user)
{
    if (is_empty(primary_user) || !has_room(m_dest_elements, too_many_users)) {
        return 0;
    }
    return contains(m_dest_list, m_dest_elements, primary_user) ? 1
                                                                : append(m_dest_list, m_dest_elements, primary_user);
}

int CDestinationsList::Add_in_Exclude_List(const char* primary_user)
{
    if (is_empty(primary_user) || !has_room(m_exclude_dest_elements, too_many_users) ||
        contains(m_exclude_dest_list, m_exclude_dest_elements, primary_user)) {
        return 0;
    }
    return append(m_exclude_dest_list, m_exclude_dest_elements, primary_user);
}

int CDestinationsList::Add_in_Branch_List(const char* branch)
{
    if (is_empty(branch)) {
        return 0;
    }
    return contains(m_branch_list, m_branch_elements, branch)
               ? 1
               : append_if_room(m_branch_list, m_branch_elements, branch, too_many_branches);
}

int CDestinationsList::Add_in_Instit_List(const char* institution)
{
    if (is_empty(institution)) {
        return 0;
    }
    return contains(m_instit_list, m_instit_elements, institution)
               ? 1
               : append_if_room(m_instit_list, m_instit_elements, institution, too_many_institutions);
}

void CDestinationsList::Add_in_Group_List(const char* group)
{
    if (!is_empty(group) && !contains(m_group_list, m_group_elements, group)) {
        append_if_room(m_group_list, m_group_elements, group, too_many_groups);
    }
}

int CDestinationsList::Add_in_Gen_To_List(const char* text, int len)
{
    if (is_empty(text)) {
        return 0;
    }
    const std::size_t wanted = len != 0 ? static_cast<std::size_t>(len) : std::strlen(text) + 1; // below 0 is huge
    if (wanted > static_cast<std::size_t>(MAX_GEN_DEST_LEN - m_gen_dest_len)) {
        COMMON_Put_Syslog_Message(1, "%s", too_long_generic);
        return 0;
    }
    std::memmove(m_gen_dest_list + m_gen_dest_len, text, wanted);
    m_gen_dest_len += static_cast<int>(wanted);
    return 1;
}

int CDestinationsList::Set_in_PU_List(const char* primary_user)
{
    CleanList();
    return Add_in_PU_List(primary_user);
}

int CDestinationsList::Set_in_Exclude_List(const char* primary_user)
{
    CleanList();
    return Add_in_Exclude_List(primary_user);
}

int CDestinationsList::Set_in_Branch_List(const char* branch)
{
    CleanList();
    return Add_in_Branch_List(branch);
}

int CDestinationsList::Set_in_Instit_List(const char* institution)
{
    CleanList();
    return Add_in_Instit_List(institution);
}

int CDestinationsList::Set_in_Gent_To_List(const char* text)
{
    if (is_empty(text)) {
        return 0;
    }
    CleanList();
    return Add_in_Gen_To_List(text, 0);
}

void CDestinationsList::Set_CDestination_List(CDestinationsList& other)
{
    CleanList();
    Add_CDestination_List(other);
}

// What the other list holds is counted first: it may be this very list, whose generic part grows meanwhile.
void CDestinationsList::Add_CDestination_List(CDestinationsList& other)
{
    for (int i = 0, count = other.m_dest_elements; i < count; ++i) {
        Add_in_PU_List(other.m_dest_list[i]);
    }
    for (int i = 0, count = other.m_branch_elements; i < count; ++i) {
        Add_in_Branch_List(other.m_branch_list[i]);
    }
    for (int i = 0, count = other.m_exclude_dest_elements; i < count; ++i) {
        Add_in_Exclude_List(other.m_exclude_dest_list[i]);
    }
    for (int i = 0, count = other.m_instit_elements; i < count; ++i) {
        Add_in_Instit_List(other.m_instit_list[i]);
    }
    const std::string_view entries(other.m_gen_dest_list, static_cast<std::size_t>(other.m_gen_dest_len));
    For_Each_Generic_Entry(entries, [this](std::string_view entry) {
        Add_in_Gen_To_List(entry.data(), static_cast<int>(entry.size()) + 1);
    });
    for (int i = 0, count = other.m_group_elements; i < count; ++i) {
        Add_in_Group_List(other.m_group_list[i]);
    }
}

void CDestinationsList::Add_Group_In_List(const char* elements, int count)
{
    for (int i = 0; i < count; ++i) {
        Add_in_PU_List(elements + i * DEST_SIZE);
    }
}
