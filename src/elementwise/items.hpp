// One char item of a text list, quoted or not, with its escapes: shared by
// parse_char and from_text_char so that both read items alike.
//
// A backslash takes the next byte: n gives newline, t tab, the digit 0 a zero
// byte, any other byte stands for itself.
#pragma once

#include <cstdint>

namespace zvq::items {

inline char unescape(char c) {
    switch (c) {
        case 'n':
            return '\n';
        case 't':
            return '\t';
        case '0':
            return '\0';
        default:
            return c;
    }
}

struct Item {
    uint32_t length;
    const char* end;  // behind the item, its closing quote included
};

// Where an unquoted item ends: parse_char's ends at "," or the zero byte and
// keeps its spaces; a list's also ends at "}" and drops unescaped spaces at
// its end (the list skips those before it).
enum class Unquoted { ToComma, ListItem };

// Decodes one item, quoted (up to the same quote) or not, into out if given.
// More than `limit` bytes, a text that ends inside the quotes or inside an
// escape: false.
inline bool decode_item(const char* p, uint32_t limit, uint8_t* out, Item& item,
                        Unquoted mode = Unquoted::ToComma) {
    const char quote = *p == '"' || *p == '\'' ? *p : '\0';
    if (quote != '\0') ++p;
    const bool list = mode == Unquoted::ListItem && quote == '\0';
    uint32_t n = 0;
    uint32_t spaces = 0;  // unescaped spaces not yet written: a list item's end drops them
    for (;; ++p) {
        char c = *p;
        if (quote != '\0' ? c == quote : c == ',' || (list && c == '}')) break;
        if (c == '\0') {
            if (quote != '\0') return false;
            break;
        }
        if (list && c == ' ') {
            ++spaces;
            continue;
        }
        for (; spaces != 0; --spaces) {
            if (n == limit) return false;
            if (out) out[n] = ' ';
            ++n;
        }
        if (c == '\\') {
            c = *++p;
            if (c == '\0') return false;
            c = unescape(c);
        }
        if (n == limit) return false;
        if (out) out[n] = static_cast<uint8_t>(c);
        ++n;
    }
    item = {n, quote != '\0' ? p + 1 : p};
    return true;
}

}  // namespace zvq::items
