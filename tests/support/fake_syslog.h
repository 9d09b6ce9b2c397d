// The system log of the library under test: its lines end here.
#pragma once

#include <string>

namespace testing_support {

// What was logged, each line with its priority: "7 stem:12 text\n".
extern std::string logged;

// The last line alone, without its priority.
std::string last_logged();

}  // namespace testing_support
