// Reading one number from a text exactly as the C library's sscanf reads it
// with the conversions of the parsers ("%i%n", "%lli%n", "%u%n", "%llu%n",
// "%lf%n") and of print_char's precision ("%d%n"), without its cost.
//
// sscanf measures the whole remaining text on every call (the string is
// turned into a stream first), so scanning a long list item by item with it
// is quadratic, and even on a short copy its stream set-up costs as much as
// the conversion. This scanner finds the characters that the conversion
// would consume, by the same rules (glibc, C locale: whitespace skipped, a
// sign, base prefixes for %i only, "nan", "inf" and "infinity", hexadecimal
// floats, at most one decimal point and one exponent, a dangling "e" or
// "0x" consumed), and converts them in place with the strto* function that
// sscanf itself applies to them.
#pragma once

#include <cstddef>

namespace zvq::scan {

// T is the type the conversion stores: int (%i), long long (%lli), unsigned
// (%u), unsigned long long (%llu) or double (%lf). Returns false where
// sscanf would not yield one value; otherwise stores the value and the
// count of bytes consumed, the %n of sscanf.
template <class T>
bool scan_number(const char* text, T& value, size_t& consumed);

// "%d%n": a signed decimal int.
bool scan_decimal(const char* text, int& value, size_t& consumed);

// Decimal 64-bit integers as strtoll and strtoull read them in base 10; errno
// is theirs (ERANGE on overflow).
bool scan_decimal(const char* text, long long& value, size_t& consumed);
bool scan_decimal(const char* text, unsigned long long& value, size_t& consumed);

}  // namespace zvq::scan
