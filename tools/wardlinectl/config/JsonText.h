#pragma once

#include <stddef.h>

#include <string>
#include <string_view>
#include <vector>

// A JSON text beside the value that the JSON library makes of it, which does not tell everything.

/** A place in a text; lines and columns (bytes) are counted from 1. */
struct TextPlace {
    size_t line = 0;
    size_t column = 0;
};

/** A text's lines, however they end. */
class TextLines {
  public:
    explicit TextLines(std::string_view text);

    TextPlace placeOf(size_t offset) const;

    /** A line without its end. */
    std::string_view line(size_t number) const;

  private:
    std::string_view text_;
    std::vector<size_t> starts_;
};

/** A member of an object, at the place where its key begins. */
struct JsonMember {
    std::string parent;  // Path of the object: keys joined by dots, elements in brackets.
    std::string key;
    size_t offset;
    bool isRepeated;  // The object has had the key already.
};

/** The path of a member, such as "processes[2].name"; odd keys are in quotes. */
std::string memberPath(const std::string& parent, const std::string& key);

/** All members of all objects, in the order of a text that the JSON library takes. */
std::vector<JsonMember> listMembers(std::string_view text);

/** Where the document ends: behind it is only what the JSON library does not look at. */
size_t findDocumentEnd(std::string_view text);
