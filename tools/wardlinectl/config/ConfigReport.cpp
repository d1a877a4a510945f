#include "config/ConfigReport.h"

#include <algorithm>

#include "Input.h"
#include "Terminal.h"
#include "Text.h"
#include "config/ConfigFile.h"
#include "see/JsonWriter.h"

namespace {

constexpr size_t kExcerptColumns = kColumns - 4;

/** The part of a line that is around a column, and a mark under that column. */
void printExcerpt(FILE* stream, std::string_view line, size_t column) {
    const size_t mark = std::min(column - 1, line.size());
    const size_t start = mark < kExcerptColumns ? 0 : mark - kExcerptColumns / 2;
    std::string excerpt(line.substr(start, kExcerptColumns));
    for (char& c : excerpt)
        c = static_cast<unsigned char>(c) < ' ' || c == '\x7f' ? ' ' : c;
    fprintf(stream, "    %s\n    %s^\n", excerpt.c_str(), std::string(mark - start, ' ').c_str());
}

void printProblem(FILE* stream, const std::string& file, const TextLines& lines,
                  const ConfigProblem& problem, Colour colour, const char* severity) {
    const bool hasPlace = problem.place.line != 0;
    const std::string place = hasPlace ? ':' + std::to_string(problem.place.line) + ':' +
                                             std::to_string(problem.place.column)
                                       : "";
    fprintf(stream, "%s%s: %s %s%s%s\n", file.c_str(), place.c_str(),
            painted(stream, colour, severity).c_str(), problem.path.c_str(),
            problem.path.empty() ? "" : " ", problem.what.c_str());
    if (hasPlace) printExcerpt(stream, lines.line(problem.place.line), problem.place.column);
}

Json::Value problemsAsJson(const TextLines& lines, const std::vector<ConfigProblem>& problems) {
    Json::Value list(Json::arrayValue);
    for (const ConfigProblem& problem : problems) {
        Json::Value& object = list.append(Json::objectValue);
        setBytes(object, "path", problem.path);
        setBytes(object, "message", problem.what);
        if (problem.place.line == 0) continue;
        object["line"] = Json::UInt64(problem.place.line);
        object["column"] = Json::UInt64(problem.place.column);
        setBytes(object, "text", lines.line(problem.place.line));
    }
    return list;
}

}  // namespace

void printCheck(FILE* stream, const std::string& file, std::string_view text,
                const ConfigCheck& check) {
    const TextLines lines(text);
    for (const ConfigProblem& problem : check.errors)
        printProblem(stream, file, lines, problem, Colour::kError, "error:");
    for (const ConfigProblem& problem : check.warnings)
        printProblem(stream, file, lines, problem, Colour::kWarning, "warning:");
    const std::string verdict =
        check.survives() ? "a subscriber survives it" : "it ends every process that watches";
    fprintf(stream, "%s: %s: %s, %s\n", file.c_str(), verdict.c_str(),
            counted(check.errors.size(), "error").c_str(),
            counted(check.warnings.size(), "warning").c_str());
}

Json::Value checkAsJson(const std::string& file, std::string_view text, const ConfigCheck& check) {
    const TextLines lines(text);
    Json::Value object;
    setBytes(object, "file", file);
    object["survives"] = check.survives();
    object["errors"] = problemsAsJson(lines, check.errors);
    object["warnings"] = problemsAsJson(lines, check.warnings);
    return object;
}

bool isDeviceConfigSound() {
    std::string text;
    if (!readWhole(kConfigPath, &text)) return true;  // The library says why.
    const ConfigCheck check = checkConfig(text);
    if (!check.survives()) printCheck(stderr, kConfigPath, text, check);
    return check.survives();
}
