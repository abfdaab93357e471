#include "command/desurvey.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace qrd::command {

namespace {

constexpr double radians = std::numbers::pi / 180;
// Below it the quotient of ratio_factor loses digits, and the series has all of them.
constexpr double small_angle = 0.02;

client::point3 operator+(const client::point3& a, const client::point3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

client::point3 operator*(double factor, const client::point3& a) {
  return {factor * a.x, factor * a.y, factor * a.z};
}

// Inclination from the vertical, as the literature counts it.
double inclination(const station& one) {
  return (90 - one.dip) * radians;
}

// The unit tangent: east, north, up.
client::point3 tangent(const station& one) {
  const double theta = inclination(one);
  const double phi = one.azimuth * radians;
  return {std::sin(theta) * std::sin(phi), std::sin(theta) * std::cos(phi), -std::cos(theta)};
}

double square(double value) {
  return value * value;
}

}  // namespace

std::optional<desurvey_method> desurvey_method_of(std::string_view name) {
  if (name == "minimum-curvature") return desurvey_method::minimum_curvature;
  if (name == "balanced") return desurvey_method::balanced;
  if (name == "tangential") return desurvey_method::tangential;
  return std::nullopt;
}

double dogleg(const station& a, const station& b) {
  const double theta1 = inclination(a);
  const double theta2 = inclination(b);
  const double phi = (b.azimuth - a.azimuth) * radians;
  // The half angles keep the digits that an arc cosine near 1 would lose.
  const double h = square(std::sin((theta2 - theta1) / 2)) +
                   std::sin(theta1) * std::sin(theta2) * square(std::sin(phi / 2));
  return 2 * std::asin(std::sqrt(std::clamp(h, 0.0, 1.0)));
}

double ratio_factor(double alpha) {
  if (alpha >= small_angle) return std::tan(alpha / 2) / (alpha / 2);
  const double alpha2 = square(alpha);
  return 1 + alpha2 / 12 * (1 + alpha2 / 10 * (1 + 17 * alpha2 / 168 * (1 + 31 * alpha2 / 306)));
}

hole_path::hole_path(const client::point3& collar, std::vector<station> stations, desurvey_method method)
    : stations_(std::move(stations)), method_(method) {
  places_.push_back(collar + stations_[0].depth * tangent(stations_[0]));
  for (std::size_t i = 0; i + 1 < stations_.size(); ++i)
    places_.push_back(behind(i, stations_[i + 1].depth - stations_[i].depth));
}

client::point3 hole_path::at(double depth) const {
  const auto next = std::upper_bound(stations_.begin(), stations_.end(), depth,
                                     [](double d, const station& one) { return d < one.depth; });
  // Above the first station the path runs up to the collar in its direction.
  const std::size_t i =
      next == stations_.begin() ? 0 : static_cast<std::size_t>(next - stations_.begin()) - 1;
  return behind(i, depth - stations_[i].depth);
}

client::point3 hole_path::behind(std::size_t i, double length) const {
  const client::point3 t1 = tangent(stations_[i]);
  const bool is_last = i + 1 == stations_.size();
  if (length <= 0 || is_last || method_ == desurvey_method::tangential) return places_[i] + length * t1;

  const client::point3 t2 = tangent(stations_[i + 1]);
  const double S = stations_[i + 1].depth - stations_[i].depth;
  if (method_ == desurvey_method::balanced) {
    const double upper = std::min(length, S / 2);
    return places_[i] + upper * t1 + (length - upper) * t2;
  }
  const double alpha = dogleg(stations_[i], stations_[i + 1]);
  const double k = length / S;
  // The tangent at the place, between the two; on a straight piece it is either.
  const double sine = std::sin(alpha);
  const client::point3 t =
      alpha < 1e-9 ? t1 : std::sin((1 - k) * alpha) / sine * t1 + std::sin(k * alpha) / sine * t2;
  return places_[i] + length / 2 * ratio_factor(k * alpha) * (t1 + t);
}

}  // namespace qrd::command
