// ara::core string types: the standard library's, under the platform's names.
#ifndef ARA_CORE_STRING_H
#define ARA_CORE_STRING_H

#include <string>
#include <string_view>

namespace ara::core {

using String = std::string;
using StringView = std::string_view;

}  // namespace ara::core

#endif  // ARA_CORE_STRING_H
