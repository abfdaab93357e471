// The fuzz program: one target of those below, chosen by QRD_FUZZ_TARGET.
//
//   a format      a byte and the content of a file; the requests that read and change it follow
//   looks         a format, and how one of its files changes while each of the requests is served
//   units         texts, as units and as words of a format
//   wire          bytes as a client might send them
//   conversation  requests, and changes of files between and within them
//
// With QRD_FUZZ_SEEDS, the name of a folder, it writes the inputs to begin with there and ends. With
// QRD_FUZZ_SHOW it tells what was sent and answered, with QRD_FUZZ_LIST it prints the names of all targets.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "disk/qu_study_descriptor.h"
#include "disk/store_state.h"
#include "fuzz/conversation.h"
#include "fuzz/database.h"
#include "fuzz/system.h"
#include "fuzz/targets.h"
#include "fuzz/tree.h"
#include "requests/context.h"
#include "requests/dispatch.h"
#include "requests/handlers.h"
#include "samples/qd_study_session.h"
#include "support/bytes.h"
#include "units/qu_units.h"
#include "util/qu_memory.h"
#include "util/qu_string.h"
#include "wire/buffer.h"
#include "wire/connection.h"
#include "wire/send_or_receive.h"

extern "C" int LLVMFuzzerInitialize(int* argument_count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t limit,
                                               unsigned seed);
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t limit);

namespace qrd::fuzz {

namespace {

std::unique_ptr<tree> database;
std::vector<format> all_formats;
ingredients known;
std::string target;
bool ended = false;
bool shows = false;
std::string last_answer;

[[noreturn]] void fail(const std::string& text) {
  std::fprintf(stderr, "%s\n", text.c_str());
  std::abort();
}

// The state of a process that has just been started.
void start_server() {
  qd_tables_init();
  reset_context();
  connection.client_socket = client_descriptor;
  connection.client_version = protocol_version;
  connection.client_is_64bits = 1;
  store = {};
  units = {};
  _qrd_empty_read();
  _qrd_empty_write();
  client_forgets();
}

std::string readable(std::string_view data) {
  std::string text;
  for (char c : data.substr(0, 120)) text += c >= ' ' && c <= '~' ? c : '.';
  return text;
}

// Serves what the client has sent, until the server ends; all of what isn't used is dropped.
void serve(std::string_view sent) {
  client_sends(sent);
  while (!ended && client_has_sent()) {
    char name[request_name_limit];
    ended = !runs_through([&] {
      if (server_receive(name) == 1 && server_answer(name) != server_ends) return;
      client_forgets();
    });
  }
  client_forgets();
  _qrd_empty_read();
  last_answer = client_received();
  if (shows) std::fprintf(stderr, "%s\n  %s\n", readable(sent).c_str(), readable(last_answer).c_str());
  if (ended && shows) std::fprintf(stderr, "  (end)\n");
}

// What the next open file would get.
int free_descriptor() {
  const int descriptor = dup(STDERR_FILENO);
  close(descriptor);
  return descriptor;
}

// One run: a server starts, serves, and ends.
template <typename Work>
void run(const Work& work) {
  const int descriptor_before = free_descriptor();
  ended = false;
  runs_through(start_server);
  {
    const bounded_files bounded;
    work();
    forget_looks();
    runs_through([] {
      if (store.lock_taken != 0) qd_end(0);
    });
  }
  runs_through(start_server);
  // A long-lived server dies of it.
  if (free_descriptor() != descriptor_before) fail("A file is left open.");
  database->restore();
}

void change_file(const step& wanted) {
  const auto& files = database->files();
  if (!std::binary_search(files.begin(), files.end(), wanted.file)) return;
  switch (wanted.kind) {
    case step_kind::request:
      return;
    case step_kind::whole:
      return database->put(wanted.file, database->with_root(wanted.data));
    case step_kind::patch: {
      std::string content = database->get(wanted.file);
      content.resize(std::max(content.size(), wanted.place + wanted.data.size()));
      return database->put(wanted.file, content.replace(wanted.place, wanted.data.size(), wanted.data));
    }
    case step_kind::cut:
      return database->put(wanted.file, database->get(wanted.file).substr(0, wanted.place));
    case step_kind::copy:
      if (std::binary_search(files.begin(), files.end(), wanted.data))
        database->put(wanted.file, database->content(wanted.data));
      break;
    case step_kind::remove:
      return database->remove(wanted.file);
  }
}

void take_step(const step& taken) {
  if (taken.kind == step_kind::request) {
    serve(database->with_root(taken.data));
    forget_looks();
  } else if (taken.look == 0) {
    change_file(taken);
  } else {
    const bool at_file = taken.look < looks_at_file;
    const std::string path = at_file ? database->root() + "/" + taken.file : "";
    const int number = at_file ? taken.look : (taken.look - looks_at_file) * looks_apart + 1;
    at_look(number, path, [taken] { change_file(taken); });
  }
}

void run_conversation(std::string_view input) {
  const conversation steps = parse(input);
  run([&] {
    for (const step& each : steps) take_step(each);
  });
}

// Head of an input: a format, one of its places, a look, a way to change, an offset in words.
constexpr std::size_t looks_head = 5;

// Each request of the format meets the same change of the file just before a look at it, and finds it sound
// in the next one.
void run_looks(std::string_view input) {
  if (input.size() < looks_head) return;
  const auto number = [&](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(input[i]));
  };
  const format& chosen = all_formats[number(0) % all_formats.size()];
  step change;
  change.file = chosen.places[number(1) % chosen.places.size()];
  change.look = static_cast<std::uint8_t>(1 + number(2) % (looks_at_file - 1));
  change.data = input.substr(looks_head);
  change.place = static_cast<std::uint16_t>(4 * number(4));
  constexpr std::size_t ways = 6;
  const std::size_t way = number(3) % ways;
  if (way < ways - 1) change.kind = static_cast<step_kind>(1 + way);
  // The last way adds to a number of four bytes, which states a length or a count most often.
  const std::string content = chosen.gone.empty() ? database->content_or_nothing(change.file) : "";
  if (way == ways - 1 && change.place + 4U <= content.size() && !change.data.empty()) {
    change.kind = step_kind::patch;
    const auto added = static_cast<signed char>(change.data[0]);
    change.data = content.substr(change.place, 4);
    change.data[3] = static_cast<char>(change.data[3] + added);
  }
  if (change.kind == step_kind::copy) change.data = chosen.places[change.place / 4 % chosen.places.size()];
  if (change.kind == step_kind::request) return;
  run([&] {
    for (const std::string& request : chosen.requests) {
      take_step(change);
      serve(request);
      forget_looks();
      database->restore_file(change.file);
    }
  });
}

void run_format(const format& chosen, std::string_view input) {
  if (input.empty()) return;
  const std::string& place = chosen.places[static_cast<unsigned char>(input[0]) % chosen.places.size()];
  run([&] {
    for (const std::string& path : chosen.gone) database->remove(path);
    database->put(place, database->with_root(std::string(input.substr(1))));
    for (const std::string& request : chosen.requests) serve(request);
    for (const std::string& path : chosen.places) database->remove(path);
  });
  for (const auto* paths : {&chosen.gone, &chosen.places})
    for (const std::string& path : *paths) database->restore_file(path);
}

void run_units(std::string_view input) {
  std::string texts[4];
  for (std::string& text : texts) {
    text = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(input.size(), text.size() + 1));
  }
  qd_format_record record;
  qu_format_set(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str(), 1, 2.5, record);
  if (record.width < smallest_width || record.width > largest_width || record.digits < 0 ||
      record.digits > largest_digits)
    fail("A format is out of its bounds.");
  run([&] {
    using test::bytes;
    for (const auto& group : {opening_requests(database->root()), choosing_requests()})
      for (const std::string& request : group) serve(request);
    for (const bytes& request :
         {bytes("CFILESET").text("points"), bytes("CVARSET").text("f64"),
          bytes("CVARUNIT").i32(2).text(texts[0]).text(texts[1]), bytes("CDISTUSET").text(texts[2]),
          bytes("CUNITCR").text(texts[0]).text(texts[1]).text(texts[2]),
          bytes("CVARFNEW").text("new").i32(64, 0, 8, 2, 1).text(texts[3]), bytes("CVARINFO"),
          bytes("CREADVARF").i64(-1, -1).i32(0)})
      serve(request);
  });
}

void run_wire(std::string_view input) {
  run([&] {
    for (const std::string& request : opening_requests(database->root())) serve(request);
    serve(database->with_root(std::string(input)));
  });
}

const format* find_format(const std::string& name) {
  const auto found = std::find_if(all_formats.begin(), all_formats.end(),
                                  [&](const format& each) { return each.name == name; });
  return found == all_formats.end() ? nullptr : &*found;
}

void run_input(std::string_view input) {
  if (target == "conversation") return run_conversation(input);
  if (target == "looks") return run_looks(input);
  if (target == "units") return run_units(input);
  if (target == "wire") return run_wire(input);
  run_format(*find_format(target), input);
}

void build_database() {
  database = std::make_unique<tree>();
  std::atexit([] { database.reset(); });
  start_server();
  for (const auto& group : building_requests(database->root()))
    for (const std::string& request : group) {
      serve(request);
      if (ended || last_answer.empty() || last_answer.find("SERROR") != std::string::npos)
        fail("Not served: " + readable(request) + "\n" + readable(last_answer));
    }
  qd_end(0);
  database->remember();
  all_formats = formats(database->root());
}

std::vector<step> as_steps(const std::vector<std::string>& requests) {
  conversation steps;
  for (const std::string& request : requests) steps.push_back({.data = request});
  return steps;
}

class seed_folder {
 public:
  explicit seed_folder(const std::string& path) : path_(path) {}
  void add(const std::string& target_name, std::string_view input) {
    std::filesystem::create_directories(path_ + "/" + target_name);
    test::write_file(path_ + "/" + target_name + "/seed_" + std::to_string(++count_), input);
  }

 private:
  std::string path_;
  int count_ = 0;
};

void write_seeds(const std::string& folder) {
  seed_folder seeds(folder);
  const std::string root = tree::root_in_inputs();
  std::vector<std::string> opening = opening_requests(root);
  for (const std::string& choice : choosing_requests()) opening.push_back(choice);

  std::vector<format> in_inputs = formats(root);
  for (std::size_t i = 0; i < in_inputs.size(); ++i) {
    const format& each = in_inputs[i];
    for (std::size_t place = 0; place < each.places.size(); ++place) {
      const auto& files = database->files();
      const bool exists = std::binary_search(files.begin(), files.end(), each.places[place]);
      const std::string selector(1, static_cast<char>(place));
      if (exists) seeds.add(each.name, selector + database->content(each.places[place]));
      for (const std::string& old : old_contents(each.name)) seeds.add(each.name, selector + old);
      if (!exists) continue;
      for (const char look : {'\0', '\1'})
        for (char way = 0; way < 6; ++way)
          seeds.add("looks",
                    std::string{static_cast<char>(i), static_cast<char>(place), look, way, 3, 0, 0, 0, 64});
    }
    seeds.add("conversation", unparse(as_steps(each.requests)));
  }
  for (const auto& group : building_requests(root)) {
    std::vector<std::string> requests = opening;
    requests.insert(requests.end(), group.begin(), group.end());
    seeds.add("conversation", unparse(as_steps(requests)));
    for (const std::string& request : group) seeds.add("wire", request);
  }
  seeds.add("units", "Decimal\n10\n2\nm");
  seeds.add("units", "Exponent\n19\n9\nkm");
}

void collect_ingredients() {
  const std::string root = tree::root_in_inputs();
  for (const format& each : formats(root))
    known.requests.insert(known.requests.end(), each.requests.begin(), each.requests.end());
  for (const auto& group : building_requests(root))
    known.requests.insert(known.requests.end(), group.begin(), group.end());
  for (const std::string& request : requests_by_layout()) known.requests.push_back(request);
  for (const format& each : all_formats)
    for (const std::string& place : each.places)
      if (!database->content_or_nothing(place).empty()) known.files.push_back(place);
  std::sort(known.requests.begin(), known.requests.end());
  known.requests.erase(std::unique(known.requests.begin(), known.requests.end()), known.requests.end());
}

}  // namespace

}  // namespace qrd::fuzz

using namespace qrd::fuzz;

int LLVMFuzzerInitialize(int* /*argument_count*/, char*** /*arguments*/) {
  build_database();
  shows = std::getenv("QRD_FUZZ_SHOW") != nullptr;
  collect_ingredients();
  if (std::getenv("QRD_FUZZ_LIST") != nullptr) {
    for (const format& each : all_formats) std::printf("%s\n", each.name);
    for (const char* name : {"looks", "units", "wire", "conversation"}) std::printf("%s\n", name);
    std::fflush(stdout);
  } else if (const char* folder = std::getenv("QRD_FUZZ_SEEDS")) {
    write_seeds(folder);
  } else {
    target = std::getenv("QRD_FUZZ_TARGET") == nullptr ? "conversation" : std::getenv("QRD_FUZZ_TARGET");
    const bool is_other =
        target == "looks" || target == "units" || target == "wire" || target == "conversation";
    if (!is_other && find_format(target) == nullptr) fail("No such target: " + target);
    return 0;
  }
  database.reset();
  _exit(0);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  run_input({reinterpret_cast<const char*>(data), size});
  return 0;
}

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t limit, unsigned seed) {
  if (target != "conversation") return LLVMFuzzerMutate(data, size, limit);
  const std::string out =
      mutated({reinterpret_cast<const char*>(data), size}, limit, seed, known, LLVMFuzzerMutate);
  std::copy(out.begin(), out.end(), data);
  return out.size();
}
