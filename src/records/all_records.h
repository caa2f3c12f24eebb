// The record classes of the system, one row each, for whoever goes over all of them: documents, checks, views.
#pragma once

#include "message/message.h"
#include "records/sizes.h"

#include <memory>
#include <span>

namespace qapi {

struct RecordClass
{
    const char* name;                              // "CMsgOrder"
    const char* meaning;                           // a few words for the user
    const RecordLayout& (*layout)();               // shared by all its records
    std::unique_ptr<CMessage> (*make)(char* data); // a record; `data` as the constructors take it
};

// In the order of their families: session, orders and trades, prices and back office, reference tables.
std::span<const RecordClass> All_Record_Classes();

// Bytes of the largest record with its spare ones: what a buffer must have that every class can be a view on.
inline constexpr int LARGEST_RECORD_BUFFER =
    MSG_NUMBER_FIELD_SIZE + CABEZA_HEADER_SIZE + CHAT_AFTER_CABEZA_SIZE + MESSAGE_EXTRA_ALLOCATED_SIZE;

} // namespace qapi

using qapi::All_Record_Classes;
using qapi::LARGEST_RECORD_BUFFER;
using qapi::RecordClass;
