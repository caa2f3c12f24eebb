#include "outbound/addressing.h"

#include "transport/envelope.h"
#include "transport/generic_entry.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace {

constexpr char too_long[] = "Size of generic destination in a message has been exceeded.";

constinit CDestinationsList host_addresses GUARDED_BY(The_Outbound_Mutex){NORMAL_DEST};
constinit CDestinationsList order_list GUARDED_BY(The_Outbound_Mutex){NORMAL_DEST};
constinit CDestinationsList fitted_list GUARDED_BY(The_Outbound_Mutex){NORMAL_DEST};

// How an element of each of the five lists is added, in the order in which they travel.
using Add = void (*)(CDestinationsList& list, const char* element);
constexpr std::array<Add, NUM_DEST_LIST_TYPES> add_element{
    [](CDestinationsList& list, const char* element) { list.Add_in_PU_List(element); },
    [](CDestinationsList& list, const char* element) { list.Add_in_Branch_List(element); },
    [](CDestinationsList& list, const char* element) { list.Add_in_Exclude_List(element); },
    [](CDestinationsList& list, const char* element) { list.Add_in_Instit_List(element); },
    [](CDestinationsList& list, const char* element) { list.Add_in_Group_List(element); },
};

// Copies a list group by group, as far as the room goes.
class Fitting
{
public:
    Fitting(CDestinationsList& from, CDestinationsList& to, int room) : m_from(from), m_to(to), m_room(room) {}

    void Copy()
    {
        m_to.CleanList();
        m_to.Set_Target(m_from.Get_Target());
        for (int list = 0; list < NUM_DEST_LIST_TYPES; ++list) {
            Copy_List(list);
        }
        const auto generic_len = static_cast<std::size_t>(m_from.Get_Gen_Adress_Len());
        For_Each_Generic_Entry({m_from.Get_Gen_Adress(), generic_len}, [this](std::string_view entry) {
            if (Has_Room(static_cast<int>(entry.size() - GENERIC_ID_LEN))) {
                m_to.Add_in_Gen_To_List(entry.data(), static_cast<int>(entry.size()) + 1);
            }
        });
    }

private:
    bool Has_Room(int elements_len)
    {
        if (GROUP_HEAD_LEN + elements_len > m_room) {
            COMMON_Put_Syslog_Message(1, "%s", too_long);
            return false;
        }
        m_room -= GROUP_HEAD_LEN + elements_len;
        return true;
    }

    void Copy_List(int list)
    {
        const int number = m_from.Get_Numbers()[list];
        const int size = CDestinationsList::Get_Sizes()[list];
        if (number == 0 || !Has_Room(number * size)) {
            return;
        }
        const char* element = m_from.Get_Adressees()[list];
        for (int i = 0; i < number; ++i, element += size) {
            add_element[static_cast<std::size_t>(list)](m_to, element);
        }
    }

    CDestinationsList& m_from;
    CDestinationsList& m_to;
    int m_room;
};

} // namespace

void qapi::Add_Host_Address(const char* address)
{
    const std::string_view text = address != nullptr ? address : "";
    if (text.empty()) {
        return;
    }
    const OutboundLock lock;
    if (text.size() < GENERIC_ID_LEN) {
        COMMON_Put_Syslog_Message(1, "%s", too_long); // it would cut off all addresses behind it
        return;
    }
    host_addresses.Add_in_Gen_To_List(address, 0);
}

void qapi::Forget_Host_Addresses()
{
    const OutboundLock lock;
    host_addresses.CleanList();
}

CDestinationsList& qapi::Host_Addresses()
{
    return host_addresses;
}

CDestinationsList& qapi::Destinations_Of_Order(CDestinationsList* addressees, int room)
{
    order_list.CleanList();
    order_list.Set_Target(NORMAL_DEST);
    if (addressees != nullptr) {
        order_list.Set_Target(addressees->Get_Target());
        order_list.Add_CDestination_List(*addressees);
        addressees->CleanList();
    }
    order_list.Add_Group_In_List(glb_dm_dest_list.Get_Adressees()[0], glb_dm_dest_list.Get_Numbers()[0]);
    if (DCON_Groups_Len(&order_list) <= room) {
        return order_list;
    }
    Fitting(order_list, fitted_list, room).Copy();
    return fitted_list;
}
