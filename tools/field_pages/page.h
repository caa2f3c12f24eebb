// The reference of fields as Markdown: a page for each record class, and an index.
#pragma once

#include "records/all_records.h"

#include <string>

// What a host's author must know of a record: by which kind it is asked for, and a row for each field in the order of
// their bytes, the wider of two that begin together first.
std::string Page_Of(const RecordClass& record);

std::string Index_Page();
