// The texts of the reports that are raised while one of these lives, in order.
#pragma once

#include "qcapi/support.h"

#include <string>
#include <utility>
#include <vector>

class ReportTexts
{
public:
    ReportTexts()
    {
        heard().clear();
        Set_Report_Host_Sink([](int code, char* text) { heard().push_back(std::to_string(code) + " " + text); });
    }
    ~ReportTexts() { Set_Report_Host_Sink(nullptr); }
    ReportTexts(const ReportTexts&) = delete;
    ReportTexts& operator=(const ReportTexts&) = delete;

    // "CODE TEXT" of each, and none afterwards.
    static std::vector<std::string> Take() { return std::exchange(heard(), {}); }

private:
    static std::vector<std::string>& heard()
    {
        static std::vector<std::string> texts;
        return texts;
    }
};
