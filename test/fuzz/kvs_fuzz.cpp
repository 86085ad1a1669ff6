// Opens arbitrary file content as a key-value storage and reads every key as a string and as a
// string array.
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "ara/per/key_value_storage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/zel-fuzz-kvs-" + std::to_string(getpid()) + ".json";
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data), size);
    const auto storage = ara::per::OpenKeyValueStorage(path);
    unlink(path.c_str());
    for (const auto& key : storage.HasValue() ? storage.Value()->GetAllKeys().Value() : std::vector<std::string>{}) {
        std::string text;
        ara::per::kvstype::KvsType value;
        (void)storage.Value()->GetBaseValue(key, text);
        if (storage.Value()->GetBaseValue(key, value).HasValue()) (void)value.GetKvsArray<std::string>();
    }
    return 0;
}
