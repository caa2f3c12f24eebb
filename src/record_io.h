// Reads and writes of the files that outlive the process, at a place and without a seek: each is one transfer, so no
// lock stands around a file, and a thread that is killed leaves no half of a buffer behind.
#pragma once

#include <cstdint>
#include <span>
#include <string>

// A write that a signal kills ends between two pages of the system's, whose size is a multiple of this one.
inline constexpr unsigned SMALLEST_PAGE = 4096;

extern int Glb_sync_files; // 1: Sync_Record_File waits for the disk. Of the configuration; 0 without it

namespace qapi {

// Opens the file for reading and writing, created if it is missing and for its owner alone. -1 with errno if that fails
// or the path names no regular file: EISDIR for a directory, EINVAL for a pipe or a device.
int Open_Record_File(const std::string& path);

// Bytes read, fewer at the end of the file; -1 with errno.
std::int64_t Read_At(int descriptor, std::span<char> bytes, std::int64_t offset);

// Whether the process may write a file up to there.
[[nodiscard]] bool Is_Within_Limit(std::int64_t end);

// 0 or errno; ENOSPC if the file took a part of the bytes alone. A place beyond the process's limit of file sizes gives
// EFBIG, and no SIGXFSZ, which would end a host that doesn't expect it.
[[nodiscard]] int Write_At(int descriptor, std::span<const char> bytes, std::int64_t offset);

// The same for bytes that end before a place that Is_Within_Limit allowed just now, or that a write has reached: the
// limit isn't asked for again, which is a third of what a small write costs.
[[nodiscard]] int Write_At_Lower(int descriptor, std::span<const char> bytes, std::int64_t offset);

// Behind a write that a cut of the power must not take back: returns when the file's bytes are on the disk. Does
// nothing unless Glb_sync_files is set. 0 or errno.
[[nodiscard]] int Sync_Record_File(int descriptor);

} // namespace qapi

using qapi::Is_Within_Limit;
using qapi::Open_Record_File;
using qapi::Read_At;
using qapi::Sync_Record_File;
using qapi::Write_At;
using qapi::Write_At_Lower;
