#include "ara/per/key_value_storage.h"

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

namespace ara::per {
namespace {

using Json = nlohmann::ordered_json;

kvstype::KvsType ToKvs(const Json& value) {
    if (value.is_string()) {
        return kvstype::KvsType::FromString(value.get<core::String>());
    }
    if (value.is_array()) {
        core::Vector<core::String> strings;
        for (const auto& element : value) {
            if (!element.is_string()) {
                return kvstype::KvsType::Other();
            }
            strings.push_back(element.get<core::String>());
        }
        return kvstype::KvsType::FromStringArray(std::move(strings));
    }
    return kvstype::KvsType::Other();
}

}  // namespace

core::Result<UniqueHandle<KeyValueStorage>> OpenKeyValueStorage(core::StringView path) {
    std::ifstream in{core::String(path), std::ios::binary};
    if (!in) {
        return MakeErrorCode(PerErrc::kStorageNotFound, "cannot open " + core::String(path));
    }
    const core::String text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) {
        return MakeErrorCode(PerErrc::kPhysicalStorageFailure, "cannot read " + core::String(path));
    }

    // The parser keeps the last of two equal keys without a word; a storage must not hold both,
    // so the keys of every object level are tracked while parsing.
    bool duplicate = false;
    std::vector<std::set<core::String>> keysPerLevel;
    auto watch = [&](int, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) {
            keysPerLevel.emplace_back();
        } else if (event == Json::parse_event_t::object_end && !keysPerLevel.empty()) {
            keysPerLevel.pop_back();
        } else if (event == Json::parse_event_t::key && !keysPerLevel.empty()) {
            if (!keysPerLevel.back().insert(parsed.get<core::String>()).second) {
                duplicate = true;
            }
        }
        return true;
    };
    const Json root = Json::parse(text, watch, /*allow_exceptions=*/false);
    if (root.is_discarded() || !root.is_object()) {
        return MakeErrorCode(PerErrc::kValidationFailed, core::String(path) + " is not a JSON object");
    }
    if (duplicate) {
        return MakeErrorCode(PerErrc::kValidationFailed, core::String(path) + " gives a key twice");
    }

    core::Vector<KeyValueStorage::Entry> entries;
    for (const auto& item : root.items()) {
        entries.emplace_back(item.key(), ToKvs(item.value()));
    }
    return std::make_unique<KeyValueStorage>(std::move(entries));
}

const kvstype::KvsType* KeyValueStorage::Find(core::StringView key) const {
    for (const auto& entry : entries_) {
        if (entry.first == key) {
            return &entry.second;
        }
    }
    return nullptr;
}

core::Result<core::Vector<core::String>> KeyValueStorage::GetAllKeys() const {
    core::Vector<core::String> keys;
    keys.reserve(entries_.size());
    for (const auto& entry : entries_) {
        keys.push_back(entry.first);
    }
    return keys;
}

core::Result<void> KeyValueStorage::GetBaseValue(core::StringView key, core::String& value) const {
    const kvstype::KvsType* found = Find(key);
    if (found == nullptr) {
        return MakeErrorCode(PerErrc::kKeyNotFound, "no key " + core::String(key));
    }
    if (found->GetKind() != kvstype::KvsType::Kind::kString) {
        return MakeErrorCode(PerErrc::kDataTypeMismatch, "key " + core::String(key) + " is not a string");
    }
    value = found->GetString();
    return {};
}

core::Result<void> KeyValueStorage::GetBaseValue(core::StringView key, kvstype::KvsType& value) const {
    const kvstype::KvsType* found = Find(key);
    if (found == nullptr) {
        return MakeErrorCode(PerErrc::kKeyNotFound, "no key " + core::String(key));
    }
    value = *found;
    return {};
}

}  // namespace ara::per
