// A running log in place of the connection. Replay feeds its messages, openings and closings to the reader, as the
// connection thread would; translation writes its records out with their bodies in the clear. qapi.cfg chooses:
// docs/replay.md.
//
// The source and the output are opened and used by one thread at a time: by Login or Connect, then by the replay's own
// thread.
#pragma once

// Opens the log and takes its bounds, each up to 14 characters YYYYMMDDHHMMSS; null or empty for none. A source that is
// still open is closed. Returns 1, or 0 behind a line in the running log.
int LOG_Set_Source_Messages(char* path, char* start, char* end);

// Appends the source's records to a file, up to the later bound, and closes both. Returns 1, or 0 behind a line in the
// running log if the file can't be opened.
int LOG_Decompress(char* out_path);

// Thread function: feeds Glb_Recv_Mss from the source, as fast as the reader takes it, to the source's end. Behind the
// later bound it stands still, and the source counts as not ended, until Stop_Replay. Not counted in thrct: whoever
// started it stops and joins it.
void* LOG_Do_Testing(void* unused);

void LOG_Close_in_out_Files();

namespace qapi {

// Ends LOG_Do_Testing wherever it is, also one that starts later. Any thread.
void Stop_Replay();

// Takes a stop back, before threads start.
void Prepare_Replay();

} // namespace qapi

using qapi::Prepare_Replay;
using qapi::Stop_Replay;
