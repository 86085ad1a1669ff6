#include "clt_executor.h"

#include <iostream>

#include "configuration.h"

namespace zel::clt {

CltExecutor::CltExecutor(const std::vector<std::string>& inputCmd)
    : inputCmd_(inputCmd), execMap_(BuiltinCommandTable()) {}

bool CltExecutor::Match() const {
    if (inputCmd_.size() != 2) {
        return false;
    }
    if (Configuration::IsCltPlugin(inputCmd_[0])) {
        return false;
    }
    return execMap_.count(inputCmd_[1]) != 0;
}

int32_t CltExecutor::Exec() { return execMap_[inputCmd_.back()](inputCmd_.front()); }

int32_t CltExecutor::Help(const std::string& name) {
    auto& conf = Configuration::GetInstance();
    if (!conf.Load(name)) {
        std::cout << "load " << name << " plugin fail" << std::endl;
        return -1;
    }
    conf.PrintHelp();
    return 0;
}

}  // namespace zel::clt
