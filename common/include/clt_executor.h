// CltExecutor: the command words that the tool answers itself, before any plug-in is loaded:
// a registered plug-in's name followed by a word of the executor's command table (the table
// itself is the executable's, see BuiltinCommandTable). Main thread only.
#ifndef ZEL_CLT_CLT_EXECUTOR_H
#define ZEL_CLT_CLT_EXECUTOR_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zel::clt {

using BuiltinCommand = std::function<int32_t(const std::string&)>;
using BuiltinCommandMap = std::map<std::string, BuiltinCommand>;

class CltExecutor {
public:
    explicit CltExecutor(const std::vector<std::string>& inputCmd);

    // True for exactly two words: a registered plug-in name and a word of the table.
    bool Match() const;
    // Runs the matched command with the plug-in name; only after Match gave true.
    int32_t Exec();
    // Prints the help of name's configuration: 0, or -1 when it cannot be loaded.
    static int32_t Help(const std::string& name);

private:
    std::vector<std::string> inputCmd_;
    BuiltinCommandMap execMap_;
};

// The table of built-in command words, from word to the operation that takes the plug-in name.
BuiltinCommandMap BuiltinCommandTable();

}  // namespace zel::clt

#endif  // ZEL_CLT_CLT_EXECUTOR_H
