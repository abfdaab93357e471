// Names of the objects of a polygon or wireframe file that are wanted.
#pragma once

#include <functional>
#include <set>
#include <string>

namespace qrd {

using object_name_set = std::set<std::string, std::less<>>;

}  // namespace qrd
