// Stored log files for the conversion tests: numbered records made with the project's
// generator, the line the tool prints for each, and byte surgery on files.
#ifndef ZEL_TEST_LOG_FILES_H
#define ZEL_TEST_LOG_FILES_H

#include <string>
#include <vector>

#include "dlt_record.h"

namespace zel::test {

// Record number i: version 1, counter i % 256, APP/CTX at info, data time i seconds since
// start-up, stored at 1700000000 + i (UTC), one string argument of payloadSize characters.
dltgen::Record Numbered(int i, std::size_t payloadSize = 20);
// The text the tool prints for Numbered(i, payloadSize) with both time stamps, in UTC.
std::string LineOf(int i, std::size_t payloadSize = 20);

// The bytes of records first..last (inclusive), and their lines.
std::string Records(int first, int last, std::size_t payloadSize = 20);
std::string Lines(int first, int last, std::size_t payloadSize = 20);

std::string DiscardLine(std::size_t bytes);

// A directory of its own, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    // Writes bytes to name and returns its path.
    std::string Write(const std::string& name, const std::string& bytes) const;

private:
    std::string dir_;
};

}  // namespace zel::test

#endif  // ZEL_TEST_LOG_FILES_H
