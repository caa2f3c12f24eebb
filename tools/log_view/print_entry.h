// One entry of a running log as a line for people.
#pragma once

#include "qcapi/log_reader.h"

#include <string>

// The line with its newline. Every byte outside printable ASCII is written as \xHH, so that no log can drive a
// terminal. With `with_packet`, lines of sixteen bytes of a message's packet follow.
std::string Readable_Entry(const LogEntry& entry, bool with_packet);
