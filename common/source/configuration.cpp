#include "configuration.h"

#include <dirent.h>

#include <iostream>
#include <memory>
#include <utility>

#include "plugin_factory.h"
#include "zel_paths.h"

namespace zel::clt {
namespace {

constexpr char kCltDir[] = "clt_plugin";
constexpr char kJsonSuffix[] = ".json";

}  // namespace

Configuration& Configuration::GetInstance() {
    static Configuration instance;
    return instance;
}

ara::core::StringView Configuration::SelectPath() const {
    DIR* dir = opendir(paths::kSystemConfDir);
    if (dir != nullptr) {
        closedir(dir);
        return paths::kSystemConfDir;
    }
    return paths::kUserConfDir;
}

std::string Configuration::TransNameToPath(const std::string& name) const {
    const std::string dir = name == kCltName ? std::string(kCltDir) : toolName_;
    return std::string(SelectPath()) + dir + "/" + name + kJsonSuffix;
}

std::string Configuration::GetJsonFileName(const std::string& file) {
    const std::string suffix = kJsonSuffix;
    if (file.size() < suffix.size() || file.compare(file.size() - suffix.size(), suffix.size(), suffix) != 0) {
        return "";
    }
    return file.substr(0, file.size() - suffix.size());
}

bool Configuration::ReadVectorString(ara::core::StringView key,
                                     const ara::per::UniqueHandle<ara::per::KeyValueStorage>& db,
                                     std::vector<std::string>& out) {
    ara::per::kvstype::KvsType kvs;
    (void)db->GetBaseValue(key, kvs);  // a missing key leaves kvs unset, which the array read refuses
    auto array = kvs.GetKvsArray<ara::core::String>();
    if (!array.HasValue()) {
        return false;
    }
    for (auto& element : array.Value()) {
        out.push_back(std::move(element));
    }
    return true;
}

bool Configuration::ReadConf(const std::string& name, ConfTuple& conf) const {
    auto opened = ara::per::OpenKeyValueStorage(TransNameToPath(name));
    if (!opened.HasValue() || !opened.Value()) {
        std::cout << name << " plugin config open failed" << std::endl;
        return false;
    }
    const auto& db = opened.Value();

    const auto keys = db->GetAllKeys();
    if (!keys.HasValue()) {
        std::cout << " db->GetAllKeys() failed " << std::endl;
        return false;
    }
    if (keys.Value() != confKeys_) {
        std::cout << "config keys error!" << std::endl;
        return false;
    }

    std::string app;
    (void)db->GetBaseValue(confKeys_[0], app);  // an unreadable name loads as empty
    std::vector<std::string> commands;
    if (!ReadVectorString(confKeys_[1], db, commands)) {
        return false;
    }
    std::vector<std::string> helps;
    if (!ReadVectorString(confKeys_[2], db, helps)) {
        return false;
    }
    conf = ConfTuple(std::move(app), std::move(commands), std::move(helps));
    return true;
}

bool Configuration::Load(const std::string& name) {
    ConfTuple conf;
    if (!ReadConf(name, conf)) {
        return false;
    }
    appName_ = std::get<0>(conf);
    cmds_ = std::get<1>(conf);
    helps_ = std::get<2>(conf);
    return true;
}

bool Configuration::IsCltPlugin(const std::string& name) { return !PluginFactory::IsPluginRegistered(name); }

void Configuration::PrintHelp() const {
    std::cout << appName_ << " usage: " << std::endl;
    for (const auto& line : helps_) {
        std::cout << "\t" << line << std::endl;
    }
}

std::vector<std::string> Configuration::GetAllPluginName() const {
    std::vector<std::string> names;
    const ara::core::StringView base = SelectPath();
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir((std::string(base) + toolName_).c_str()), closedir);
    if (dir == nullptr) {
        std::cout << "Open conf dir " << base << " failed" << std::endl;
        return names;
    }
    while (const dirent* entry = readdir(dir.get())) {
        const std::string file = entry->d_name;
        if (file.empty() || file[0] == '.') {
            continue;
        }
        std::string stem = GetJsonFileName(file);
        if (!stem.empty()) {
            names.push_back(std::move(stem));
        }
    }
    return names;
}

bool Configuration::GetAllConf(std::vector<ConfTuple>& out) const {
    for (const auto& name : GetAllPluginName()) {
        ConfTuple conf;
        if (!ReadConf(name, conf)) {
            return false;
        }
        out.push_back(std::move(conf));
    }
    return true;
}

}  // namespace zel::clt
