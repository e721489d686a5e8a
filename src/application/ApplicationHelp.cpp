#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <utility>

namespace brindle {

namespace {

constexpr int LAST_SHORT_CODE = 255;
constexpr int STATUS_OF_BAD_USAGE = 2;

std::string leftColumn(int shortOption, const std::string& name)
{
    std::string longForm = name.empty() ? "" : "--" + name;
    if (shortOption > LAST_SHORT_CODE) {
        return longForm;
    }
    std::string shortForm = {'-', static_cast<char>(shortOption)};
    return longForm.empty() ? shortForm : shortForm + ", " + longForm;
}

using Row = std::pair<std::string, std::string>; // left column, description

void writeRows(std::ostream& stream, const std::vector<Row>& rows)
{
    std::size_t width = 0;
    for (const Row& row : rows) {
        width = std::max(width, row.first.size());
    }
    for (const Row& row : rows) {
        stream << "  " << std::left << std::setw(static_cast<int>(width)) << row.first << "  " << row.second
               << std::endl;
    }
}

}

int Application::printHelp(bool error)
{
    std::ostream& stream = error ? std::cerr : std::cout;
    const std::string path = appPath();
    const std::string programName = path.substr(path.rfind('/') + 1); // npos + 1 is 0: the whole path
    stream << "Usage: " << programName << " " << foreword << std::endl << std::endl;
    if (appImpl.optionList != nullptr) {
        std::vector<Row> rows;
        for (const Option* option : *appImpl.optionList) {
            rows.emplace_back(leftColumn(option->shortOption, option->name), option->description);
        }
        writeRows(stream, rows);
    }
    stream << std::endl << afterword << std::endl;
    return error ? STATUS_OF_BAD_USAGE : EXIT_SUCCESS;
}

void Application::setForeword(const std::string& text)
{
    foreword = text;
}

void Application::setAfterword(const std::string& text)
{
    afterword = text;
}

}
