// Whom a message is for: what the host says of its next order, and the one list that an order travels with.
#pragma once

#include "mutex.h"
#include "outbound/send_queue.h"
#include "transport/destinations.h"

namespace qapi {

// Addressees of the host's next message: identifier of two letters and a name. An empty one is passed over; one of
// fewer than two letters, or that the list has no room for, is reported and left out. Any thread.
void Add_Host_Address(const char* address);
void Forget_Host_Addresses();

// The list of the two above.
CDestinationsList& Host_Addresses() REQUIRES(The_Outbound_Mutex);

// Takes the addressees, which are forgotten where they were (null for none), and adds the data managers. Groups that
// find no room in so many bytes are left out and reported. Good until the next call.
CDestinationsList& Destinations_Of_Order(CDestinationsList* addressees, int room) REQUIRES(The_Outbound_Mutex);

} // namespace qapi

using qapi::Add_Host_Address;
using qapi::Destinations_Of_Order;
using qapi::Forget_Host_Addresses;
using qapi::Host_Addresses;
