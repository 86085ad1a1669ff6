// ConvertCommand: the options of one log conversion, passed by value from the "log-convert"
// plug-in to the service that reads and prints the file.
#ifndef ZEL_CLT_CONVERT_COMMAND_H
#define ZEL_CLT_CONVERT_COMMAND_H

#include <cstdint>
#include <string>

namespace zel::clt {

struct ConvertCommand {
    bool isContinue = false;  // print the last tailNum records, then follow the file as it grows
    bool isManatime = true;   // print the time the log daemon stored each record
    bool isDatatime = true;   // print the time stamp each record carries
    int32_t tailNum = 10;     // in follow mode, how many of the records already there are printed
    std::string filename;     // the path as the user typed it
};

}  // namespace zel::clt

#endif  // ZEL_CLT_CONVERT_COMMAND_H
