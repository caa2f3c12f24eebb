// The addressees of a message: five fixed lists and a generic one, which the envelope carries as groups
// (transport/envelope.h). A list has no lock; the process-wide ones belong to whoever sends.
#pragma once

#include <array>

inline constexpr int MAX_DEST_ELEMENTS = 300; // of each fixed list
inline constexpr int NUM_DEST_LIST_TYPES = 5;
inline constexpr int DEST_SIZE = 4;          // bytes of a primary user's code
inline constexpr int MAX_GEN_DEST_LEN = 150; // bytes of the generic list

// What kind of server a message is for.
inline constexpr int NORMAL_DEST = 0;
inline constexpr int DGI_DEST = 1;
inline constexpr int DS_DEST = 2;
inline constexpr int DMDI_DEST = 4;

class CDestinationsList
{
public:
    constexpr explicit CDestinationsList(int target) : m_target(target) {}
    CDestinationsList(const CDestinationsList&) = delete;
    CDestinationsList& operator=(const CDestinationsList&) = delete;

    [[nodiscard]] int Get_Target() const { return m_target; }
    void Set_Target(int target) { m_target = target; }

    // Forgets all addressees; the lists' bytes and the target stay.
    void CleanList();

    // The five fixed lists in the order in which they travel: identifiers of two letters, elements back to back, bytes
    // of an element, elements in use. The arrays live as long as the object.
    static const char* const* Get_Ids() { return m_ids.data(); }
    static const int* Get_Sizes() { return m_sizes.data(); }
    [[nodiscard]] const char* const* Get_Adressees() const { return m_adressees.data(); }
    const int* Get_Numbers();

    // The generic list: entries back to back, each two letters of identifier, a text, a zero byte.
    [[nodiscard]] const char* Get_Gen_Adress() const { return m_gen_dest_list; }
    [[nodiscard]] int Get_Gen_Adress_Len() const { return m_gen_dest_len; }

    // Each reads one element of the list's size; one that begins with a zero byte is refused with 0, and so is one too
    // many, which is reported. 1 if the element is in the list afterwards; a repeated exclusion gives 0 all the same.
    int Add_in_PU_List(const char* primary_user);      // 4 bytes
    int Add_in_Exclude_List(const char* primary_user); // 4 bytes
    int Add_in_Branch_List(const char* branch);        // 8 bytes
    int Add_in_Instit_List(const char* institution);   // 4 bytes
    void Add_in_Group_List(const char* group);         // 8 bytes

    // Appends one entry, or as many as `len` bytes hold; with `len` 0 the text with its terminator. 0 behind a report
    // if it doesn't fit.
    int Add_in_Gen_To_List(const char* text, int len);

    // Forget all addressees and add one.
    int Set_in_PU_List(const char* primary_user);
    int Set_in_Exclude_List(const char* primary_user);
    int Set_in_Branch_List(const char* branch);
    int Set_in_Instit_List(const char* institution);
    int Set_in_Gent_To_List(const char* text); // an empty text leaves the list as it is, with 0

    void Set_CDestination_List(CDestinationsList& other);
    void Add_CDestination_List(CDestinationsList& other);

    // `count` primary users of 4 bytes each.
    void Add_Group_In_List(const char* elements, int count);

private:
    static constexpr std::array<int, NUM_DEST_LIST_TYPES> m_sizes{DEST_SIZE, 8, DEST_SIZE, 4, 8};
    static constexpr std::array<const char*, NUM_DEST_LIST_TYPES> m_ids{"PU", "SU", "XP", "IN", "GR"};

    int m_target;
    char m_dest_list[MAX_DEST_ELEMENTS][DEST_SIZE] = {};
    char m_branch_list[MAX_DEST_ELEMENTS][8] = {};
    char m_exclude_dest_list[MAX_DEST_ELEMENTS][DEST_SIZE] = {};
    char m_instit_list[MAX_DEST_ELEMENTS][4] = {};
    char m_gen_dest_list[MAX_GEN_DEST_LEN] = {};
    char m_group_list[MAX_DEST_ELEMENTS][8] = {};
    int m_gen_dest_len = 0;
    int m_dest_elements = 0;
    int m_branch_elements = 0;
    int m_exclude_dest_elements = 0;
    int m_instit_elements = 0;
    int m_group_elements = 0;
    std::array<const char*, NUM_DEST_LIST_TYPES> m_adressees{m_dest_list[0], m_branch_list[0], m_exclude_dest_list[0],
                                                             m_instit_list[0], m_group_list[0]};
    std::array<int, NUM_DEST_LIST_TYPES> m_numbers{};
};

extern CDestinationsList glb_ds_dest_list;
extern CDestinationsList glb_ds_dest_list_to_DS;
extern CDestinationsList glb_ds_dest_list_to_DGI;
extern CDestinationsList glb_dm_dest_list;
extern CDestinationsList glb_work_dest_list;
extern CDestinationsList glb_work_dest_list_to_DS;
extern CDestinationsList glb_nul_dest_list_to_DS;
extern CDestinationsList glb_nul_dest_list_to_DGI;
extern CDestinationsList glb_nul_dest_list_to_DMDI;
