#include "see/MakeWriter.h"

#include "see/JsonWriter.h"
#include "see/TextWriter.h"

std::unique_ptr<RecordWriter> makeWriter(const SeeOptions& options) {
    if (options.isJson) return std::make_unique<JsonWriter>(options.showsBytes);
    return std::make_unique<TextWriter>(options.showsBytes);
}
