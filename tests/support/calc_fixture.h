// Numbers written and read as texts, reports caught, and the system's precision put back after every test.
#pragma once

#include "calclib/calclib.h"
#include "qcapi/support.h"

#include <gtest/gtest.h>

#include <array>
#include <mutex>
#include <string>
#include <vector>

using Words = std::array<CALC_MNUM, COMMON_CALC_SIZE>;

class CalcTest : public testing::Test
{
public:
    CalcTest(const CalcTest&) = delete;
    CalcTest& operator=(const CalcTest&) = delete;

protected:
    CalcTest()
    {
        Reports().clear();
        Set_Report_Host_Sink(Hear);
    }

    ~CalcTest() override
    {
        Set_Report_Host_Sink(nullptr);
        calc_set_precision(COMMON_CALC_INT, COMMON_CALC_DEC);
        calc_set_decimal_point('.');
    }

    // Word 8 is not the library's: it gets a value that every check finds again.
    static Words Number(const std::string& text)
    {
        Words number{};
        number[8] = 77;
        EXPECT_EQ(calc_stom(text.c_str(), number.data()), 0) << text;
        return number;
    }

    static Words Of(CALC_MNUM sign, std::array<CALC_MNUM, 7> digits)
    {
        Words number{};
        number[0] = sign;
        std::copy(digits.begin(), digits.end(), number.begin() + 1);
        number[8] = 77;
        return number;
    }

    // All twelve decimals that a number has, without blanks.
    static std::string Text(const Words& number) { return Print(number, 30, 12, 0, 1); }

    static std::string Print(const Words& number, short len, short decs, int plus = 0, int left = 0)
    {
        std::array<char, 40> text;
        text.fill('~');
        calc_mtos(number.data(), text.data(), len, decs, plus, left);
        const std::string written(text.data());
        EXPECT_EQ(std::string(text.data() + written.size() + 1, 2), "~~") << "writes behind the terminator";
        return written;
    }

    static std::vector<std::string>& Reports()
    {
        static std::vector<std::string> reports;
        return reports;
    }

private:
    static void Hear(int code, char* text) { Reports().push_back(std::to_string(code) + " " + text); }
};
