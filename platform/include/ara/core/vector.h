// ara::core::Vector: the standard vector under the platform's name.
#ifndef ARA_CORE_VECTOR_H
#define ARA_CORE_VECTOR_H

#include <vector>

namespace ara::core {

template <typename T, typename Alloc = std::allocator<T>>
using Vector = std::vector<T, Alloc>;

}  // namespace ara::core

#endif  // ARA_CORE_VECTOR_H
