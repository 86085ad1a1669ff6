// Configuration: the process-wide store of one plug-in's command configuration.
//
// Each plug-in has one JSON file with exactly the keys "app", "command" and "help", in that
// order. Files live under the system configuration directory when it can be opened, else under
// the user one: clt_plugin/clt.json for the built-in commands, <tool name>/<plug-in>.json for
// the others. Load keeps the last successfully read file; a failed Load leaves it in place.
// Main thread only; failures are reported by the result and, where the user needs to know, one
// line on standard output.
#ifndef ZEL_CLT_CONFIGURATION_H
#define ZEL_CLT_CONFIGURATION_H

#include <string>
#include <tuple>
#include <vector>

#include "ara/core/string.h"
#include "ara/per/key_value_storage.h"

namespace zel::clt {

// The built-in plug-in's name, and the two program names the tool answers to.
inline constexpr char kCltName[] = "clt";
inline constexpr char kToolName[] = "zel-tool";
inline constexpr char kDebugToolName[] = "zel-dbg";

// (application name, command patterns, help lines)
using ConfTuple = std::tuple<std::string, std::vector<std::string>, std::vector<std::string>>;

class Configuration {
public:
    static Configuration& GetInstance();
    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;

    void SetName(const std::string& name) { toolName_ = name; }
    std::string GetName() const { return toolName_; }

    // The system configuration directory if it opens as a directory, else the user one.
    ara::core::StringView SelectPath() const;
    bool Load(const std::string& name);
    // True when name is not a registered plug-in, so the built-in "clt" commands serve it.
    static bool IsCltPlugin(const std::string& name);
    const std::vector<std::string>& GetConfigCmds() const { return cmds_; }
    void PrintHelp() const;
    std::vector<std::string> GetAllPluginName() const;
    bool GetAllConf(std::vector<ConfTuple>& out) const;

private:
    Configuration() = default;
    ~Configuration() = default;

    std::string TransNameToPath(const std::string& name) const;
    static std::string GetJsonFileName(const std::string& file);
    static bool ReadVectorString(ara::core::StringView key, const ara::per::UniqueHandle<ara::per::KeyValueStorage>& db,
                                 std::vector<std::string>& out);
    bool ReadConf(const std::string& name, ConfTuple& conf) const;

    const std::vector<std::string> confKeys_{"app", "command", "help"};
    std::string appName_;
    std::vector<std::string> cmds_;
    std::vector<std::string> helps_;
    std::string toolName_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_CONFIGURATION_H
