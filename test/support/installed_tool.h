// The installed tool under this build's platform root, and its shipped configuration.
#ifndef ZEL_TEST_SUPPORT_INSTALLED_TOOL_H
#define ZEL_TEST_SUPPORT_INSTALLED_TOOL_H

#include <string>
#include <vector>

#include "process.h"

namespace zel::test {

// bin/<name> of the installed tree: zel-tool or one of its links.
std::string ToolPath(const std::string& name = "zel-tool");

// Puts the shipped configuration back into the user configuration directory and removes the
// system one, whatever a test changed.
void RestoreShippedConf();

// Runs the installed program as name with the words.
ProcessResult RunTool(const std::string& name, const std::vector<std::string>& words,
                      const std::vector<std::string>& env = {});

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_INSTALLED_TOOL_H
