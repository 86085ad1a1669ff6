// StringToInt: a command word read as a 32-bit int, the way std::stoi reads it in base 10.
//
// Leading white space and a sign are accepted and reading stops at the first non-digit, so
// "12abc" is 12 and " +3" is 3; a word without digits, or beyond int's range, is refused and
// value is left alone. Nothing is thrown. errno is what std::stoi leaves: the standard library
// saves it and puts it back unless strtol set it, so a word beyond long's range leaves ERANGE
// and every other word leaves errno as it was.
#ifndef ZEL_CLT_STRING_TO_INT_H
#define ZEL_CLT_STRING_TO_INT_H

#include <cstdint>
#include <string>

namespace zel::clt {

bool StringToInt(const std::string& word, int32_t& value);

}  // namespace zel::clt

#endif  // ZEL_CLT_STRING_TO_INT_H
