#include "command/interruption.h"

#include <iterator>

namespace qrd::command {

namespace {

volatile sig_atomic_t noted = 0;

void note(int number) {
  noted = number;
}

}  // namespace

interruption_guard::interruption_guard() {
  noted = 0;
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < std::size(numbers); ++i) {
    sigaction(numbers[i], &action, &before_[i]);
    if (before_[i].sa_handler == SIG_IGN) sigaction(numbers[i], &before_[i], nullptr);
  }
}

interruption_guard::~interruption_guard() {
  for (std::size_t i = 0; i < std::size(numbers); ++i) sigaction(numbers[i], &before_[i], nullptr);
}

void check_interruption() {
  if (noted != 0) throw interrupted(noted);
}

}  // namespace qrd::command
