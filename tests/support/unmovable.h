// What stands for one thing: an open descriptor, a limit, a process.
#pragma once

namespace qrd::test {

struct unmovable {
  unmovable() = default;
  unmovable(const unmovable&) = delete;
  unmovable& operator=(const unmovable&) = delete;
};

}  // namespace qrd::test
