#include "command/cell_text.h"

#include <cmath>

#include "qrd/numbers.h"
#include "qrd/units.h"

namespace qrd::command {

number_writer::number_writer(const client::column& of) {
  constexpr std::int32_t single_precision = 32;
  constexpr std::int32_t double_precision = 64;
  const std::optional<double> factor =
      of.info.has_unit.value_or(false) ? client::length_factor(of.unit()) : std::optional<double>(1);
  if (!factor) return;
  factor_ = *factor;
  if (of.info.bits == single_precision) form_ = form::single;
  if (of.info.bits == double_precision && factor_ != 1) form_ = form::length;
}

char* number_writer::write(char* to, double value) const {
  switch (form_) {
    case form::single:
      return client::write_single(to, value, factor_);
    case form::length:
      return client::write_length(to, value, factor_);
    default:
      return client::write_number(to, value);
  }
}

std::string number_writer::text(double value) const {
  if (std::isnan(value)) return {};
  char text[most];
  return {text, write(text, value)};
}

}  // namespace qrd::command
