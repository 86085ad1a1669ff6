#include "string_to_int.h"

#include <stdexcept>

namespace zel::clt {

bool StringToInt(const std::string& word, int32_t& value) {
    try {
        value = std::stoi(word);
    } catch (const std::invalid_argument&) {
        return false;
    } catch (const std::out_of_range&) {
        return false;
    }
    return true;
}

}  // namespace zel::clt
