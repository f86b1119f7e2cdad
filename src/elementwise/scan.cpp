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

// The characters a conversion consumed, as sscanf hands them to strto*.
// Longer numbers than the buffer holds are rare enough to leave to sscanf.
class Token {
   public:
    static constexpr size_t kCapacity = 128;

    void add(char c) {
        if (size_ < kCapacity) buf_[size_] = c;
        ++size_;
        last_ = c;
    }
    size_t size() const { return size_; }
    char last() const { return last_; }
    bool overflowed() const { return size_ >= kCapacity; }
    const char* terminated() {
        buf_[size_] = '\0';
        return buf_;
    }

   private:
    char buf_[kCapacity + 1];
    size_t size_ = 0;
    char last_ = '\0';
};

// Reads the letters of `word` (lower case) in any case, consuming them;
// false at the first that differs.
bool take_word(const char* text, size_t& p, const char* word, Token& tok) {
    for (; *word != '\0'; ++word, ++p) {
        if (lower(text[p]) != *word) return false;
        tok.add(text[p]);
    }
    return true;
}

// From the first byte behind the whitespace; p ends behind the last byte
// consumed.
bool collect_float(const char* text, size_t& p, Token& tok) {
    bool got_sign = false;
    char c = text[p];
    if (c == '-' || c == '+') {
        got_sign = true;
        tok.add(c);
        c = text[++p];
        if (c == '\0') return false;
    }
    if (lower(c) == 'n') return take_word(text, p, "nan", tok);
    if (lower(c) == 'i') {
        if (!take_word(text, p, "inf", tok)) return false;
        // "infinity" in full, or "inf" and the rest left; a partial
        // "infin" is no number at all.
        return lower(text[p]) != 'i' || take_word(text, p, "inity", tok);
    }
    bool hexa = false, got_digit = false, got_dot = false, got_e = false;
    char exp_char = 'e';
    if (c == '0') {
        tok.add(c);
        c = text[++p];
        if (lower(c) == 'x') {
            tok.add(c);
            hexa = true;
            exp_char = 'p';
            c = text[++p];
        } else {
            got_digit = true;
        }
    }
    for (;; c = text[++p]) {
        if (is_digit(c) || (hexa && !got_e && is_xdigit(c))) {
            tok.add(c);
            got_digit = true;
        } else if (got_e && tok.last() == exp_char && (c == '-' || c == '+')) {
            tok.add(c);
        } else if (got_digit && !got_e && lower(c) == exp_char) {
            tok.add(exp_char);
            got_e = got_dot = true;
        } else if (c == '.' && !got_dot) {
            tok.add(c);
            got_dot = true;
        } else {
            break;
        }
    }
    // A sign alone, or "0x" with nothing behind it, is no number.
    return tok.size() != size_t{got_sign} && !(hexa && tok.size() == 2 + size_t{got_sign});
}

// %i chooses the base by prefix (0x hexadecimal, 0 octal); %u, %llu are
// decimal. The x of a prefix is consumed but not handed on.
bool collect_integer(const char* text, size_t& p, Token& tok, int& base) {
    char c = text[p];
    if (c == '-' || c == '+') {
        tok.add(c);
        c = text[++p];
    }
    if (c == '0') {
        tok.add(c);
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
        tok.add(c);
    }
    return !(tok.size() == 0 || (tok.size() == 1 && (tok.last() == '+' || tok.last() == '-')));
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

// The conversion that sscanf applies to the collected characters; %i and %u
// store the low bits of the long that strtol/strtoul give.
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

// base 0 chooses by prefix as %i does; the fallback format is the
// conversion's own.
template <class T>
bool scan(const char* text, T& value, size_t& consumed, int base, const char* format) {
    size_t p = 0;
    while (is_space(text[p])) ++p;
    if (text[p] == '\0') return false;
    Token tok;
    bool ok;
    if constexpr (std::is_same_v<T, double>)
        ok = collect_float(text, p, tok);
    else
        ok = collect_integer(text, p, tok, base);
    if (!ok) return false;
    if (tok.overflowed()) {
        int n = 0;
        if (std::sscanf(text, format, &value, &n) != 1) return false;
        consumed = static_cast<size_t>(n);
        return true;
    }
    const char* s = tok.terminated();
    char* end = nullptr;
    const T v = convert<T>(s, &end, base);
    if (end == s) return false;
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

}  // namespace zvq::scan
