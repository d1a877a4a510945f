#include "JUnitReport.h"

#include <fstream>
#include <sstream>
#include <string_view>

namespace {

/** Text as XML has it; a byte that XML may not have becomes a question mark. */
std::string escape(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const bool isText = (c >= ' ' && c <= '~') || c == '\n' || c == '\t';
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += isText ? c : '?';
        }
    }
    return escaped;
}

}  // namespace

void JUnitReport::add(const std::string& name, double seconds, const std::string& failure) {
    const size_t dot = name.find('.');
    std::ostringstream entry;
    entry << "  <testcase classname=\"" << escape(name.substr(0, dot)) << "\" name=\""
          << escape(name.substr(dot + 1)) << "\" time=\"" << seconds << '"';
    if (failure.empty()) {
        entry << "/>\n";
    } else {
        entry << "><failure message=\"" << escape(failure.substr(0, failure.find('\n'))) << "\">"
              << escape(failure) << "</failure></testcase>\n";
        ++failures_;
    }
    cases_.push_back(entry.str());
    seconds_ += seconds;
}

bool JUnitReport::write(const std::string& path) const {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << "<testsuite name=\"" << escape(suite_) << "\" tests=\"" << tests() << "\" failures=\""
         << failures() << "\" time=\"" << seconds_ << "\">\n";
    for (const std::string& entry : cases_)
        file << entry;
    file << "</testsuite>\n";
    file.close();
    return file.good();
}
