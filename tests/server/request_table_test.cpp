// Every handler reads and answers what its row of the request table says.
#include "wire/request_table.h"

#include "fuzz/database.h"
#include "fuzz/targets.h"
#include "server/wire.h"
#include "support/layout.h"
#include "support/open_study.h"
#include "support/programs.h"
#include "wire/values.h"

namespace qrd::test {
namespace {

// A row of texts off the front of a packet: its name, and what follows.
std::pair<std::string, std::string> parts_of(const std::string& packet) {
  const auto size = static_cast<std::size_t>(static_cast<unsigned char>(packet.at(3)));
  return {packet.substr(4, size), packet.substr(bytes(packet.substr(4, size)).str().size())};
}

// The values that a trace shows as read; of a text its first line.
strings read_values(const std::string& trace) {
  constexpr std::string_view word = "Read ";
  strings found;
  for (std::size_t at = 0; at < trace.size();) {
    const std::size_t end = std::min(trace.find('\n', at), trace.size());
    const std::size_t text = trace.find_first_not_of(' ', at);
    if (trace.compare(text, word.size(), word) == 0)
      found.push_back(trace.substr(text + word.size(), end - text - word.size()));
    at = end + 1;
  }
  return found;
}

strings first_lines(strings values) {
  for (std::string& value : values) value.resize(std::min(value.find('\n'), value.size()));
  return values;
}

// Those that look at what is chosen before they have read everything.
bool may_leave_arguments(const std::string& request) {
  for (const char* name : {"CVARFNEW", "CVARMNEW", "CVARCNEW", "CWIRENEW", "CWRITFAUL", "CWRITLINF"})
    if (request == name) return true;
  return false;
}

std::string readable(std::string_view packet) {
  std::string text;
  for (char c : packet.substr(0, 200)) text += std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '.';
  return text;
}

struct request_table_rows : open_study {
  struct exchange {
    std::string reply, trace;
  };
  exchange ask(const request_row& row, const std::string& arguments) {
    exchange result;
    const captured_trace captured(3);
    result.reply = client_.ask(row.name, arguments);
    result.trace = captured.text();
    return result;
  }

  // Serves a request, and holds what is read and what is answered to its row. Whether it was served.
  bool serve(const std::string& name, const std::string& arguments) {
    const request_row& row = row_of(name);
    const auto sent = unpacked(row.arguments, arguments, connection.client_version);
    EXPECT_TRUE(sent) << "the test sends other arguments";
    if (!sent) return false;
    const auto [reply, trace] = ask(row, arguments);
    EXPECT_TRUE(trace.starts_with(std::string("Function ") + row.handler + "\n")) << trace;
    const auto [answer, values] = reply.empty() ? std::pair<std::string, std::string>() : parts_of(reply);
    if (answer == "SERROR" && may_leave_arguments(name))
      drop_rest();
    else
      EXPECT_EQ(read_values(trace), first_lines(*sent)) << readable(reply);
    // Nothing was left over, neither of the arguments nor of the answer.
    expect_answer("CARCH", bytes().i32(1), bytes("SARCH").i32(1));
    if (answer.empty() || answer == "SERROR") return false;
    const bool is_other = row.other_answer != nullptr && answer == row.other_answer;
    EXPECT_EQ(answer, is_other ? row.other_answer : row.answer);
    EXPECT_TRUE(unpacked(is_other ? "" : row.values, values, connection.client_version)) << readable(reply);
    return true;
  }

  // A points file with a text, and with a selection that is the current variable.
  void choose_variable() {
    make_points("P", 3);
    expect_done("CVARCNEW", bytes("T").i32(5));
    select_samples("V", {1, 0, 1});
  }

  static void drop_rest() {
    char rest[4096];
    while (recv(static_cast<int>(connection.client_socket), rest, sizeof rest, MSG_DONTWAIT) > 0) continue;
    _qrd_empty_read();
  }
};

// The tables of the document on the protocol, of the request table. With QRD_WRITE_DOCUMENTS in the
// environment they are written.
std::string table_of_requests() {
  const auto answer = [](const request_row& row) {
    std::string text = std::string("`") + row.answer + "`";
    if (row.values[0] != '\0') text += std::string(" ") + row.values;
    if (row.other_answer != nullptr) text += std::string(", or `") + row.other_answer + "`";
    return text;
  };
  std::string table = "| Request | Arguments | Answer |\n|---|---|---|\n";
  for (const request_row& row : request_table)
    table += std::string("| `") + row.name + "` | " + row.arguments + " | " + answer(row) + " |\n";
  return table;
}
std::string table_of_parts() {
  std::string table = "| Part | Layout |\n|---|---|\n";
  for (const layout_part& part : layout_parts)
    table += std::string("| ") + part.name + " | " + part.layout + " |\n";
  return table;
}
std::string table_of_clients() {
  std::string table = "| Client | Versions |\n|---|---|\n";
  for (const client_versions* clients : all_client_versions) {
    std::string versions;
    for (const auto& [first, last] : clients->ranges) {
      if (first > last) continue;
      if (!versions.empty()) versions += ", ";
      versions += first == oldest_version  ? "to " + std::to_string(last)
                  : last == newest_version ? "from " + std::to_string(first)
                                           : std::to_string(first) + " to " + std::to_string(last);
    }
    table += std::string("| ") + clients->name + " | " + versions + " |\n";
  }
  return table;
}

TEST(protocol_document, tells_the_request_table) {
  const std::string path = protocol_document;
  std::string document = read_file(path);
  for (const std::string& table : {table_of_requests(), table_of_parts(), table_of_clients()}) {
    const std::size_t at = document.find(table.substr(0, table.find('\n') + 1));
    ASSERT_NE(at, std::string::npos) << table;
    const std::size_t size = document.find("\n\n", at) + 1 - at;
    EXPECT_EQ(document.substr(at, size), table);
    document.replace(at, size, table);
  }
  if (std::getenv("QRD_WRITE_DOCUMENTS") != nullptr) write_file(path, document);
}

TEST(protocol_document, tells_what_each_request_does) {
  const std::string document = read_file(protocol_document);
  std::size_t at = document.find("| Request | Needs | Does |\n");
  for (const request_row& row : request_table) {
    at = document.find("\n| `", at);
    ASSERT_NE(at, std::string::npos) << row.name;
    const std::string name = std::string("\n| `") + row.name + "` | ";
    EXPECT_EQ(document.substr(at, name.size()), name);
    at += name.size();
  }
}

// What the fuzzers ask makes a whole database, and asks for all of it in many ways.
TEST_F(request_table_rows, hold_for_a_whole_database) {
  const std::string root = root_ / "more";
  fs::create_directory(root);
  write_file(root + "/study_names.def", "root_unix      =\nroot_windows   =\n");
  std::set<std::string> served;
  const auto talk = [&](const strings& conversation) {
    for (const std::string& packet : conversation) {
      SCOPED_TRACE(readable(packet));
      const auto [name, arguments] = parts_of(packet);
      if (serve(name, arguments)) served.insert(name);
    }
  };
  for (const auto& group : fuzz::building_requests(root)) talk(group);
  const auto named = [](const char* request, const char* name) { return bytes(request).text(name).str(); };
  talk({bytes("CSUPREQ").str(), bytes("CNEWSESS").str(), bytes("CBYE BYE").str(), named("CDISTUSET", "ft"),
        bytes("CUNITCR").text("m").text("km").text("ft").str(), named("CFILEXIST", "points"),
        named("CVARXIST", "f64"), bytes("CPALWRIT").text("other").i32(1, 1, 2, 3).str(),
        named("CPALDEL", "other")});
  // From the objects up to the studies: most conversations delete what they are about.
  const std::vector<fuzz::format> formats = fuzz::formats(root);
  for (auto each = formats.rbegin(); each != formats.rend(); ++each) talk(each->requests);
  for (const request_row& row : request_table) EXPECT_TRUE(served.contains(row.name)) << row.name;
}

// The layouts of older clients, with values that lead every handler through all its arguments.
TEST_F(request_table_rows, hold_for_older_clients) {
  class mild : public value_source {
   public:
    explicit mild(int round) : round_(round) {}
    std::int64_t number(const layout_value& value) override {
      if (value.name == "type") return 2;
      if (value.name == "bit_length") return 8;
      return value.decides ? round_ : 1;
    }
    std::string text(const layout_value& value) override {
      return value.name == "name" || value.name == "path" ? root + "/" + std::to_string(++names_) : "m";
    }
    std::string root;

   private:
    int round_;
    int names_ = 0;
  };
  choose_variable();
  for (const int version : {406, 407, 409, 410, 411, 399999, 400000, 400999, 401000, 501999, 502000, 699999,
                            700000, 899999, 900000, 1300029, 1300030})
    for (const char* name : {"CSTUDYNEW", "CVARFNEW", "CVARMNEW", "CREADVARF", "CWRITVARF", "CREADVARC",
                             "CWRITVARC", "CFILEINFO", "CVARINFO"})
      for (const int round : {0, 1}) {
        SCOPED_TRACE(std::string(name) + " of client " + std::to_string(version));
        connection.client_version = version;
        mild source(round);
        source.root = root_.path();
        const bool served = serve(name, packed(row_of(name).arguments, source, version));
        EXPECT_TRUE(served || !std::string(name).ends_with("INFO"));
      }
}

// A text that fills its place is read; of a longer one nothing but its length, and the request fails.
TEST_F(request_table_rows, hold_for_the_limits_of_texts) {
  class filled : public value_source {
   public:
    filled(int place, std::int64_t excess) : place_(place), excess_(excess) {}
    std::int64_t number(const layout_value& value) override {
      ++values_;
      if (value.name == "size") return 20;
      if (value.name == "type" || value.name == "scope" || value.name == "owner") return 3;
      return value.name == "symbols" ? 2 : 1;
    }
    double real(const layout_value& /*value*/) override {
      ++values_;
      return 1;
    }
    std::string text(const layout_value& value) override {
      const bool is_meant = texts_++ == place_ && value.limit <= text_limit;
      if (is_meant) before = values_;
      ++values_;
      // Each its own, as many must be new names.
      static int made = 0;
      const auto size = static_cast<std::size_t>(value.limit - 1 + excess_);
      return is_meant ? std::string(size, 'x') : std::to_string(++made);
    }
    int before = -1;  // values in front of the text; none if there is no such text

   private:
    int place_, texts_ = 0, values_ = 0;
    std::int64_t excess_;
  };
  choose_variable();
  int refused_texts = 0;
  for (const request_row& row : request_table)
    for (int place = 0; place < 20; ++place)
      for (const int excess : {1, 0}) {
        SCOPED_TRACE(std::string(row.name) + ", text " + std::to_string(place + 1));
        filled source(place, excess);
        const std::string arguments = packed(row.arguments, source, connection.client_version);
        if (source.before < 0) continue;
        ++refused_texts;
        connection.client_is_64bits = 1;  // CHELLO puts it back
        exchange result;
        // The console tells the long names.
        console_of([&] { result = ask(row, arguments); });
        const auto& [reply, trace] = result;
        const auto read = static_cast<int>(read_values(trace).size());
        const bool is_dropped = reply.empty() || reply == refusal("Error while reading from network");
        EXPECT_TRUE(excess == 0 ? read > source.before : read == source.before && is_dropped)
            << read << " values read, " << readable(reply);
        drop_rest();
        _qrd_empty_write();
      }
  EXPECT_GT(refused_texts, 100);
}

}  // namespace
}  // namespace qrd::test
