// The lock of the replicas: the tables that the reader keeps like those of the servers, and that field paths lead into
// on whichever thread reads a field. It stands around every change of a replica, and around every reading of a field
// path, from the look-up of the path to the end of the copy: reading fills kept values, keys and cursors, so two
// readers need it of each other as well.
//
// It isn't recursive, and who holds it calls no host: reports that are raised under it are delivered when it is gone,
// since OnError may read fields. Its place among the other locks stands in mutex.h.
#pragma once

#include "mutex.h"
#include "qcapi/support.h"

namespace qapi {

inline constinit Mutex The_Replica_Mutex;

class SCOPED_CAPABILITY ReplicaLock
{
public:
    ReplicaLock() ACQUIRE(The_Replica_Mutex) { The_Replica_Mutex.lock(); }
    ~ReplicaLock() RELEASE() { The_Replica_Mutex.unlock(); } // before the reports' hold goes
    ReplicaLock(const ReplicaLock&) = delete;
    ReplicaLock& operator=(const ReplicaLock&) = delete;

private:
    ReportHold m_reports_wait;
};

} // namespace qapi

using qapi::ReplicaLock;
using qapi::The_Replica_Mutex;
