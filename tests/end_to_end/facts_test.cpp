// What a client must read in a database, worked out from the tables that the database was made of.
//
// The facts of the shipped database are in tests/data/facts.json. Other databases are checked by hand with
// QRD_FACTS_ROOT and QRD_FACTS_FILE.
#include <fstream>
#include <nlohmann/json.hpp>

#include "support/database.h"

namespace qrd::test {
namespace {

using nlohmann::json;

constexpr double metres_per_foot = 0.3048;

std::string setting(const char* name, const char* shipped) {
  const char* value = std::getenv(name);
  return value == nullptr ? shipped : value;
}

json facts() {
  const std::string path = setting("QRD_FACTS_FILE", shipped_facts);
  json values;
  std::ifstream(path) >> values;
  return values;
}

std::string without_trailing_blanks(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

void choose(client::connection& connection, const json& fact) {
  connection.set_directory(fact["directory"]);
  connection.set_file(fact["file"]);
  connection.set_variable(fact["variable"]);
  if (!fact.contains("index")) return;
  if (fact["index"].is_string())
    connection.set_index(fact["index"].get<std::string>());
  else
    connection.set_index(fact["index"].get<std::int32_t>());
}

void check_texts(client::connection& connection, const json& fact) {
  const client::text_samples samples = connection.read_texts();
  ASSERT_EQ(samples.values.size(), fact["count"].get<std::size_t>());
  std::set<std::string> distinct;
  std::size_t missing = 0;
  for (std::size_t i = 0; i < samples.values.size(); ++i) {
    const std::string text = without_trailing_blanks(samples.values[i]);
    if (i < fact["first"].size()) {
      EXPECT_EQ(text, fact["first"][i].get<std::string>());
    }
    if (samples.values[i] == samples.missing)
      ++missing;
    else
      distinct.insert(text);
  }
  EXPECT_EQ(missing, fact["missing"].get<std::size_t>());
  EXPECT_EQ(distinct.size(), fact["distinct"].get<std::size_t>());
}

// `unit` is the length in metres that a length of 1 stands for.
void check_numbers(client::connection& connection, const json& fact, const client::variable_info& info,
                   double unit) {
  const bool is_length = info.has_unit.value();
  if (fact.contains("length")) {
    EXPECT_EQ(is_length, fact["length"].get<bool>());
  }
  const double factor = is_length ? unit : 1.0;
  const double tolerance = info.bits == 32 ? 1e-6 : 1e-11;

  const client::float_samples samples = connection.read_floats();
  ASSERT_EQ(samples.values.size(), fact["count"].get<std::size_t>());
  EXPECT_EQ(samples.missing, client::missing_value);
  std::size_t missing = 0;
  double sum = 0;
  double magnitude = 0;
  for (std::size_t i = 0; i < samples.values.size(); ++i) {
    const double value = samples.values[i];
    const bool is_missing = value == samples.missing;
    if (i < fact["first"].size()) {
      const json& expected = fact["first"][i];
      EXPECT_EQ(is_missing, expected.is_null()) << "sample " << i + 1;
      if (!is_missing && !expected.is_null()) {
        const double wanted = expected.get<double>() / factor;
        EXPECT_NEAR(value, wanted, tolerance * std::max(1.0, std::fabs(wanted))) << "sample " << i + 1;
      }
    }
    missing += is_missing;
    sum += is_missing ? 0 : value;
    magnitude += is_missing ? 0 : std::fabs(value);
  }
  EXPECT_EQ(missing, fact["missing"].get<std::size_t>());
  EXPECT_NEAR(sum, fact["sum"].get<double>() / factor, tolerance * std::max(1.0, magnitude));
}

TEST(facts, hold_over_the_wire_in_metres_and_in_feet) {
  const database copy(setting("QRD_FACTS_ROOT", shipped_root));
  served server(copy.root());
  const json all = facts();
  ASSERT_FALSE(all.empty());
  for (const json& fact : all) {
    SCOPED_TRACE(fact.dump());
    server.connection.set_study(fact["study"]);
    choose(server.connection, fact);
    if (fact.value("text", false)) {
      check_texts(server.connection, fact);
      continue;
    }
    const client::variable_info info = server.connection.variable_info();
    check_numbers(server.connection, fact, info, 1.0);
    server.connection.set_distance_unit("ft");
    check_numbers(server.connection, fact, info, metres_per_foot);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(server.finish(), 0);
}

}  // namespace
}  // namespace qrd::test
