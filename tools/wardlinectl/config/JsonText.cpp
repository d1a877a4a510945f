#include "config/JsonText.h"

#include <json/reader.h>

#include <algorithm>
#include <memory>
#include <set>

#include "Text.h"

namespace {

/** Reads tokens of a text; strings and comments as one each. */
class Tokens {
  public:
    explicit Tokens(std::string_view text) : text_(text) {
        if (text.starts_with("\xef\xbb\xbf")) offset_ = 3;
    }

    /** The next token, or nothing at the end. Comments and white space are left out. */
    std::string_view next() {
        skipBlanks();
        start_ = offset_;
        if (offset_ == text_.size()) return {};
        if (text_[offset_] == '"') {
            skipString();
        } else if (std::string_view("[]{},:").find(text_[offset_]) != std::string_view::npos) {
            ++offset_;
        } else {
            skipWord();
        }
        return text_.substr(start_, offset_ - start_);
    }

    size_t start() const { return start_; }
    size_t end() const { return offset_; }

  private:
    void skipTo(std::string_view end, size_t from) {
        const size_t found = text_.find(end, from);
        offset_ = found == std::string_view::npos ? text_.size() : found + end.size();
    }

    void skipBlanks() {
        while (offset_ < text_.size()) {
            const std::string_view rest = text_.substr(offset_);
            if (std::string_view(" \t\r\n").find(rest.front()) != std::string_view::npos) {
                ++offset_;
            } else if (rest.starts_with("/*")) {
                skipTo("*/", offset_ + 2);
            } else if (rest.starts_with("//")) {
                offset_ = std::min(text_.find_first_of("\r\n", offset_), text_.size());
            } else {
                return;
            }
        }
    }

    void skipString() {
        for (++offset_; offset_ < text_.size() && text_[offset_] != '"'; ++offset_)
            offset_ += text_[offset_] == '\\' ? 1 : 0;
        offset_ = std::min(offset_ + 1, text_.size());
    }

    void skipWord() {
        offset_ = std::min(text_.find_first_of(" \t\r\n[]{},:\"/", offset_ + 1), text_.size());
    }

    std::string_view text_;
    size_t offset_ = 0;
    size_t start_ = 0;
};

/** A key without its quotes and escapes. */
std::string keyOf(std::string_view token) {
    Json::Value key;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    reader->parse(token.data(), token.data() + token.size(), &key, nullptr);
    return key.isString() ? key.asString() : std::string(token);
}

/** Lists the members of one value after the other. */
class Lister {
  public:
    explicit Lister(std::string_view text) : tokens_(text) { token_ = tokens_.next(); }

    /** Reads the value that begins with the current token. */
    void readValue(const std::string& path) {
        if (token_ == "{") return readObject(path);
        if (token_ == "[") return readArray(path);
        end_ = tokens_.end();
        token_ = tokens_.next();
    }

    const std::vector<JsonMember>& members() const { return members_; }
    size_t end() const { return end_; }

  private:
    void readObject(const std::string& path) {
        std::set<std::string> keys;
        for (token_ = tokens_.next(); !isAt("}"); skip(",")) {
            const std::string key = keyOf(token_);
            members_.push_back({path, key, tokens_.start(), !keys.insert(key).second});
            token_ = tokens_.next();
            skip(":");
            readValue(memberPath(path, key));
        }
        finish();
    }

    void readArray(const std::string& path) {
        size_t index = 0;
        for (token_ = tokens_.next(); !isAt("]"); skip(","))
            readValue(path + '[' + std::to_string(index++) + ']');
        finish();
    }

    bool isAt(std::string_view token) const { return token_ == token || token_.empty(); }

    void skip(std::string_view token) {
        if (token_ == token) token_ = tokens_.next();
    }

    void finish() {
        end_ = tokens_.end();
        token_ = tokens_.next();
    }

    Tokens tokens_;
    std::string_view token_;
    size_t end_ = 0;
    std::vector<JsonMember> members_;
};

}  // namespace

TextLines::TextLines(std::string_view text) : text_(text), starts_{0} {
    for (size_t end = text.find_first_of("\r\n"); end != std::string_view::npos;
         end = text.find_first_of("\r\n", starts_.back()))
        starts_.push_back(end + (text.substr(end, 2) == "\r\n" ? 2 : 1));
}

TextPlace TextLines::placeOf(size_t offset) const {
    const auto next = std::ranges::upper_bound(starts_, offset);
    const auto line = static_cast<size_t>(next - starts_.begin());
    return {line, offset - starts_[line - 1] + 1};
}

std::string_view TextLines::line(size_t number) const {
    if (number == 0 || number > starts_.size()) return {};
    const std::string_view rest = text_.substr(starts_[number - 1]);
    return rest.substr(0, rest.find_first_of("\r\n"));
}

std::string memberPath(const std::string& parent, const std::string& key) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    const bool isPlain = !key.empty() && key.find_first_not_of(kPlain) == std::string::npos;
    return (parent.empty() ? "" : parent + '.') + (isPlain ? key : inQuotes(key));
}

std::vector<JsonMember> listMembers(std::string_view text) {
    Lister lister(text);
    lister.readValue("");
    return lister.members();
}

size_t findDocumentEnd(std::string_view text) {
    Lister lister(text);
    lister.readValue("");
    return lister.end();
}
