// What the name server of the tests saw. It knows "client.example" as 192.0.2.77.
#pragma once

#include <string>
#include <vector>

namespace testing_support {

extern int names_asked;
// Files that nobody may hold locked while a name is looked up, and whether somebody did.
extern std::vector<std::string> not_to_be_locked;
extern bool was_locked;

}  // namespace testing_support
