// Unit tests write diagnostics through the tool logger like the tool does, so it is set up
// first; without a log daemon the records are dropped.
#include <gtest/gtest.h>

#include "clt_logger.h"

int main(int argc, char** argv) {
    zel::clt::CltLogger::GetInstance().InitLoger();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
