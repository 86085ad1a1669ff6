#include "ara/per/key_value_storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

// The whole content of a regular file. Anything else (a directory, a FIFO, a device) is
// refused without blocking: the file is opened non-blocking and checked before it is read.
core::Result<core::String> ReadRegularFile(const core::String& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return MakeErrorCode(PerErrc::kStorageNotFound, "cannot open " + path);
    }
    struct stat st {};
    core::String text;
    bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    char chunk[4096];
    while (ok) {
        const ssize_t n = read(fd, chunk, sizeof(chunk));
        if (n == 0) {
            break;
        }
        if (n > 0) {
            text.append(chunk, static_cast<std::size_t>(n));
        } else {
            ok = errno == EINTR;
        }
    }
    close(fd);
    if (!ok) {
        return MakeErrorCode(PerErrc::kPhysicalStorageFailure, "cannot read " + path + " as a file");
    }
    return text;
}

}  // namespace

core::Result<UniqueHandle<KeyValueStorage>> OpenKeyValueStorage(core::StringView path) {
    auto read = ReadRegularFile(core::String(path));
    if (!read.HasValue()) {
        return read.Error();
    }
    const core::String& text = read.Value();

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
