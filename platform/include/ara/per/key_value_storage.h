// ara::per key-value storage over one JSON file holding one object.
//
// OpenKeyValueStorage reads and parses the whole file at once; the storage then answers from
// memory and never touches the file again. Keys keep the order in which the file writes them.
// Opening fails when the file is missing or unreadable, is not valid JSON, is not an object, or
// gives one key twice. Values are strings, arrays of strings, or anything else (reported as a
// type mismatch when asked for as a string or a string array).
#ifndef ARA_PER_KEY_VALUE_STORAGE_H
#define ARA_PER_KEY_VALUE_STORAGE_H

#include <memory>
#include <utility>

#include "ara/core/result.h"
#include "ara/core/string.h"
#include "ara/core/vector.h"
#include "ara/per/kvs_type.h"

namespace ara::per {

template <typename T>
using UniqueHandle = std::unique_ptr<T>;

class KeyValueStorage {
public:
    using Entry = std::pair<core::String, kvstype::KvsType>;

    explicit KeyValueStorage(core::Vector<Entry> entries) : entries_(std::move(entries)) {}

    core::Result<core::Vector<core::String>> GetAllKeys() const;
    core::Result<void> GetBaseValue(core::StringView key, core::String& value) const;
    core::Result<void> GetBaseValue(core::StringView key, kvstype::KvsType& value) const;

private:
    const kvstype::KvsType* Find(core::StringView key) const;

    core::Vector<Entry> entries_;  // in file order
};

core::Result<UniqueHandle<KeyValueStorage>> OpenKeyValueStorage(core::StringView path);

}  // namespace ara::per

#endif  // ARA_PER_KEY_VALUE_STORAGE_H
