#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "ExitCode.h"
#include "Terminal.h"
#include "Text.h"
#include "see/Decode.h"
#include "see/JsonWriter.h"
#include "see/MakeWriter.h"
#include "see/See.h"

namespace {

constexpr size_t kBytesThatTell = 65536;

/** The kind of what is in an input, with a message when it cannot be told. */
std::optional<Kind> kindOf(const std::string& path, Input& input) {
    const std::optional<Kind> kind = findKind(path, input.peek(kBytesThatTell));
    if (!kind) complain(path + ": cannot tell the kind of record; name it with --as");
    return kind;
}

BeginRecord recordHeading(const std::string& source, Kind kind, RecordWriter& writer) {
    return [=, &writer](const Place& place) {
        Json::Value members;
        setBytes(members, "file", source);
        members["record"] = Json::UInt64(place.index);
        members["kind"] = nameOf(kind);
        members["offset"] = Json::UInt64(place.offset);
        members["size"] = Json::UInt64(place.size);
        writer.begin("record " + std::to_string(place.index) + ": " + nameOf(kind) + ", " +
                         std::to_string(place.size) + " bytes at offset " +
                         std::to_string(place.offset),
                     members);
    };
}

bool decodeInput(const std::string& source, Input& input, std::optional<Kind> kind,
                 RecordWriter& writer) {
    if (input.atEnd()) {
        complain(
            source + ": " +
            (input.error() != 0 ? strerror(input.error()) : "empty: there is no record in it"));
        return false;
    }
    if (!kind) kind = kindOf(source, input);
    if (!kind) return false;
    Decoder decoder(writer, source);
    const std::optional<std::string_view> name = findEventFileName(source);
    if (name && kind == Kind::kStabEvent) decoder.expectName(*name);
    return decoder.decode(*kind, input, recordHeading(source, *kind, writer));
}

bool decodeFile(const std::string& path, std::optional<Kind> kind, const SeeOptions& options,
                RecordWriter& writer) {
    const std::string source = sourceName(path);
    Input input(path);
    if (!input.ok()) {
        complain(source + ": " + strerror(errno));
        return false;
    }
    if (!options.isJson)
        printf("%s\n", painted(stdout, Colour::kHeading, printable(source)).c_str());
    return decodeInput(source, input, kind, writer);
}

}  // namespace

int decodeFiles(const std::vector<std::string>& paths, std::optional<Kind> kind,
                const SeeOptions& options) {
    const auto writer = makeWriter(options);
    bool isSound = true;
    for (const std::string& path : paths.empty() ? std::vector<std::string>{"-"} : paths)
        isSound = decodeFile(path, kind, options, *writer) && isSound;
    return isSound ? kDone : kBadData;
}
