// Test helpers around the configuration store: a private tool directory under this build's
// user configuration directory, and capture of what the code under test prints.
#ifndef ZEL_TEST_SUPPORT_CONF_TREE_H
#define ZEL_TEST_SUPPORT_CONF_TREE_H

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace zel::test {

// Makes <user conf dir>/<tool name>/ for a tool name private to this process, points the
// Configuration singleton at it, and removes the directory again.
class ConfTree {
public:
    ConfTree();
    ~ConfTree();
    ConfTree(const ConfTree&) = delete;
    ConfTree& operator=(const ConfTree&) = delete;

    const std::string& ToolName() const { return toolName_; }
    const std::string& Dir() const { return dir_; }
    // Writes <dir>/<name>.json with the given text.
    void WriteRaw(const std::string& name, const std::string& text) const;
    // Writes a well-formed file with the three keys.
    void Write(const std::string& name, const std::string& app, const std::vector<std::string>& commands,
               const std::vector<std::string>& helps = {}) const;

private:
    std::string toolName_;
    std::string dir_;
};

// The JSON text of a well-formed configuration.
std::string ConfJson(const std::string& app, const std::vector<std::string>& commands,
                     const std::vector<std::string>& helps);

// Collects what std::cout receives while alive.
class CoutCapture {
public:
    CoutCapture() : old_(std::cout.rdbuf(buffer_.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(old_); }
    CoutCapture(const CoutCapture&) = delete;
    CoutCapture& operator=(const CoutCapture&) = delete;
    std::string Text() const { return buffer_.str(); }

private:
    std::ostringstream buffer_;
    std::streambuf* old_;
};

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_CONF_TREE_H
