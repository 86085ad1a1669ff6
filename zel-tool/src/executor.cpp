// The built-in command table of the zel-tool executable: "<plug-in> help" prints that
// plug-in's configured help without loading the plug-in.
#include "clt_executor.h"

namespace zel::clt {

BuiltinCommandMap BuiltinCommandTable() { return {{"help", &CltExecutor::Help}}; }

}  // namespace zel::clt
