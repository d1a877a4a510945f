#include "WireBytes.h"

#include <ctype.h>

std::string bytesOf(const std::string& hex) {
    std::string digits;
    for (char c : hex) {
        if (!isspace(static_cast<unsigned char>(c))) digits += c;
    }
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string fieldsDownTo(uint32_t first, uint32_t last) {
    constexpr uint32_t kNumber = 0;
    constexpr uint32_t kText = 2;
    std::string bytes;
    const auto addTag = [&bytes](uint32_t field, uint32_t wireType) {
        const uint32_t tag = field << 3 | wireType;
        if (tag >= 0x80) bytes += static_cast<char>(tag | 0x80);
        bytes += static_cast<char>(tag >= 0x80 ? tag >> 7 : tag);
    };
    for (uint32_t field = last; field >= first; --field) {
        addTag(field, kNumber);
        bytes += '\x05';
        addTag(field, kText);
        bytes += "\x01x";
    }
    return bytes;
}
