// The number scanner of the parsers; see scan.hpp for why it is not sscanf.
#include "elementwise/scan.hpp"

#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace zvq::scan {
namespace {

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }
bool is_xdigit(char c) { return is_digit(c) || (lower(c) >= 'a' && lower(c) <= 'f'); }

// What a conversion hands on to strto*: how many characters, and the last.
// (The x of a hexadecimal prefix is consumed but not handed on.)
struct Taken {
    size_t size = 0;
    char last = '\0';

    void add(char c) {
        ++size;
        last = c;
    }
};

// Reads the letters of `word` (lower case) in any case, consuming them;
// false at the first that differs.
bool take_word(const char* text, size_t& p, const char* word, Taken& taken) {
    for (; *word != '\0'; ++word, ++p) {
        if (lower(text[p]) != *word) return false;
        taken.add(text[p]);
    }
    return true;
}

constexpr size_t kNoNumber = ~size_t{0};

// From the first byte behind the whitespace to behind the last byte
// consumed, or kNoNumber. Positions and counts are locals: the text is char,
// which may alias any object, so counters reached through a reference would
// be stored and reloaded at every character.
size_t collect_float(const char* text, size_t p) {
    Taken taken;
    bool got_sign = false;
    char c = text[p];
    if (c == '-' || c == '+') {
        got_sign = true;
        taken.add(c);
        c = text[++p];
        if (c == '\0') return kNoNumber;
    }
    if (lower(c) == 'n') return take_word(text, p, "nan", taken) ? p : kNoNumber;
    if (lower(c) == 'i') {
        if (!take_word(text, p, "inf", taken)) return kNoNumber;
        // "infinity" in full, or "inf" and the rest left; a partial
        // "infin" is no number at all.
        return lower(text[p]) != 'i' || take_word(text, p, "inity", taken) ? p : kNoNumber;
    }
    bool hexa = false, got_digit = false, got_dot = false, got_e = false;
    char exp_char = 'e';
    if (c == '0') {
        taken.add(c);
        c = text[++p];
        if (lower(c) == 'x') {
            taken.add(c);
            hexa = true;
            exp_char = 'p';
            c = text[++p];
        } else {
            got_digit = true;
        }
    }
    for (;;) {
        if (is_digit(c)) {  // every state takes decimal digits: a run at once
            do {
                taken.add(c);
                c = text[++p];
            } while (is_digit(c));
            got_digit = true;
            continue;
        }
        if (hexa && !got_e && is_xdigit(c)) {
            taken.add(c);
            got_digit = true;
        } else if (got_e && lower(taken.last) == exp_char && (c == '-' || c == '+')) {
            taken.add(c);
        } else if (got_digit && !got_e && lower(c) == exp_char) {
            taken.add(c);
            got_e = got_dot = true;
        } else if (c == '.' && !got_dot) {
            taken.add(c);
            got_dot = true;
        } else {
            break;
        }
        c = text[++p];
    }
    // A sign alone, or "0x" with nothing behind it, is no number.
    const bool number = taken.size != size_t{got_sign} && !(hexa && taken.size == 2 + size_t{got_sign});
    return number ? p : kNoNumber;
}

// %i chooses the base by prefix (0x hexadecimal, 0 octal); %d, %u, %llu are
// decimal.
size_t collect_integer(const char* text, size_t p, int& base_out) {
    Taken taken;
    int base = base_out;
    char c = text[p];
    if (c == '-' || c == '+') {
        taken.add(c);
        c = text[++p];
    }
    if (c == '0') {
        taken.add(c);
        c = text[++p];
        if (lower(c) == 'x') {
            if (base == 0) base = 16;
            if (base == 16) c = text[++p];
        } else if (base == 0) {
            base = 8;
        }
    }
    if (base == 0) base = 10;
    for (; c != '\0'; c = text[++p]) {
        const bool digit = base == 16 ? is_xdigit(c) : is_digit(c) && c - '0' < base;
        if (!digit) break;
        taken.add(c);
    }
    base_out = base;
    const bool number = !(taken.size == 0 || (taken.size == 1 && (taken.last == '+' || taken.last == '-')));
    return number ? p : kNoNumber;
}

template <class T>
constexpr const char* kFormat = nullptr;
template <>
constexpr const char* kFormat<int> = "%i%n";
template <>
constexpr const char* kFormat<long long> = "%lli%n";
template <>
constexpr const char* kFormat<unsigned> = "%u%n";
template <>
constexpr const char* kFormat<unsigned long long> = "%llu%n";
template <>
constexpr const char* kFormat<double> = "%lf%n";

// The conversion that sscanf applies to the characters; %i and %u store the
// low bits of the long that strtol/strtoul give.
template <class T>
T convert(const char* s, char** end, int base) {
    if constexpr (std::is_same_v<T, double>)
        return std::strtod(s, end);
    else if constexpr (std::is_same_v<T, int>)
        return static_cast<int>(std::strtol(s, end, base));
    else if constexpr (std::is_same_v<T, long long>)
        return std::strtoll(s, end, base);
    else if constexpr (std::is_same_v<T, unsigned>)
        return static_cast<unsigned>(std::strtoul(s, end, base));
    else
        return std::strtoull(s, end, base);
}

// base 0 chooses by prefix as %i does. The characters taken stand in the
// text from `start` on (a hexadecimal x among them, which strto* skips
// alike), so strto* reads them in place. Where it stops inside them, or just
// behind them, it gives what it gives on them alone; it reads further only
// where sscanf stops short of what strto* accepts ("nan(...)"), and those
// items go to sscanf itself.
template <class T>
bool scan(const char* text, T& value, size_t& consumed, int base, const char* format) {
    size_t start = 0;
    while (is_space(text[start])) ++start;
    if (text[start] == '\0') return false;
    size_t p;
    if constexpr (std::is_same_v<T, double>)
        p = collect_float(text, start);
    else
        p = collect_integer(text, start, base);
    if (p == kNoNumber) return false;
    char* end = nullptr;
    const T v = convert<T>(text + start, &end, base);
    if (end == text + start) return false;
    if (end > text + p) {
        int n = 0;
        if (std::sscanf(text, format, &value, &n) != 1) return false;
        consumed = static_cast<size_t>(n);
        return true;
    }
    value = v;
    consumed = p;
    return true;
}

}  // namespace

template <class T>
bool scan_number(const char* text, T& value, size_t& consumed) {
    const int base = std::is_same_v<T, int> || std::is_same_v<T, long long> ? 0 : 10;
    return scan(text, value, consumed, base, kFormat<T>);
}

template bool scan_number<int>(const char*, int&, size_t&);
template bool scan_number<long long>(const char*, long long&, size_t&);
template bool scan_number<unsigned>(const char*, unsigned&, size_t&);
template bool scan_number<unsigned long long>(const char*, unsigned long long&, size_t&);
template bool scan_number<double>(const char*, double&, size_t&);

bool scan_decimal(const char* text, int& value, size_t& consumed) { return scan(text, value, consumed, 10, "%d%n"); }
bool scan_decimal(const char* text, long long& value, size_t& consumed) {
    return scan(text, value, consumed, 10, "%lld%n");
}
bool scan_decimal(const char* text, unsigned long long& value, size_t& consumed) {
    return scan(text, value, consumed, 10, "%llu%n");
}

}  // namespace zvq::scan
