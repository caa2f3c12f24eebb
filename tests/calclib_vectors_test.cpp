// Results worked out by tests/data/make_calclib_vectors.py. A line is "operation arguments -> result", a number its
// sign word and seven digit words, a text stands in quotes.
#include "support/calc_fixture.h"

#include <fstream>
#include <sstream>

namespace {

class CalcVectors : public CalcTest
{
protected:
    static Words ReadNumber(std::istream& line)
    {
        Words n{};
        n[8] = 77;
        for (std::size_t i = 0; i < 8; ++i) {
            line >> n[i];
            line.ignore(1); // the comma
        }
        return n;
    }

    static std::string Written(int code, const Words& n)
    {
        std::string text = std::to_string(code) + " ";
        for (std::size_t i = 0; i < 8; ++i) {
            text += (i != 0 ? "," : "") + std::to_string(n[i]);
        }
        return text;
    }

    static std::string Quoted(std::istream& line)
    {
        std::string text;
        std::getline(line, text, '"');
        std::getline(line, text, '"');
        return text;
    }

    static std::string Binary(char op, std::istream& line)
    {
        const Words a = ReadNumber(line);
        Words b = ReadNumber(line);
        const int code = calc_do(a.data(), op, b.data());
        return Written(code, b);
    }

    static std::string Parse(std::istream& line)
    {
        Words n{};
        const int code = calc_stom(Quoted(line).c_str(), n.data());
        return Written(code, n);
    }

    static std::string Printed(std::istream& line)
    {
        const Words n = ReadNumber(line);
        short len = 0;
        short decs = 0;
        int plus = 0;
        int left = 0;
        line >> len >> decs >> plus >> left;
        return "\"" + Print(n, len, decs, plus, left) + "\"";
    }

    static std::string Single(const std::string& operation, std::istream& line)
    {
        Words n = ReadNumber(line);
        short decs = 0;
        int cut = 0;
        line >> decs >> cut;
        if (operation == "round") {
            calc_redondear(n.data(), decs, cut);
        } else {
            calc_truncate(n.data(), decs);
        }
        return Written(0, n);
    }

    static std::string Compared(std::istream& line)
    {
        const Words a = ReadNumber(line);
        return std::to_string(calc_cmp(a.data(), ReadNumber(line).data()));
    }

    static std::string Result(const std::string& operation, std::istream& line)
    {
        if (operation == "stom") {
            return Parse(line);
        }
        if (operation == "mtos") {
            return Printed(line);
        }
        if (operation == "cmp") {
            return Compared(line);
        }
        if (operation == "round" || operation == "truncate") {
            return Single(operation, line);
        }
        return Binary(operation[0], line);
    }
};

TEST_F(CalcVectors, EveryLineHolds)
{
    std::ifstream file(TEST_DATA "/calclib_vectors.txt");
    int lines = 0;
    for (std::string text; std::getline(file, text);) {
        if (text.empty() || text[0] == '#') {
            continue;
        }
        std::istringstream line(text);
        std::string operation;
        line >> operation;
        EXPECT_EQ(Result(operation, line), text.substr(text.find("-> ") + 3)) << text;
        ++lines;
    }
    EXPECT_GE(lines, 400);
}

} // namespace
