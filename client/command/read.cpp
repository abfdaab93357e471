// qrd read, qrd export: samples as a table.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>

#include "client/command/column.h"
#include "client/command/options.h"
#include "client/command/output.h"
#include "client/command/session.h"
#include "client/csv.h"

namespace qrd::command {

namespace {

struct read_options {
  place_options place;
  std::vector<std::string> variables;
  std::string output = "-";
  bool skip_missing = false;
};

struct file_closer {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

// The rows of a table as CSV, or as one JSON document with an array for each column.
class table_printer {
 public:
  table_printer(const std::vector<column>& columns, const common_options& common, const std::string& path,
                std::size_t columns_that_count)
      : columns_(columns), columns_that_count_(columns_that_count), as_json_(common.json) {
    if (path != "-") {
      opened_.reset(std::fopen(path.c_str(), "wbe"));
      if (!opened_) throw client::error("cannot write " + path + ": " + std::strerror(errno));
    }
    stream_ = opened_ ? opened_.get() : stdout;
    writer_ = std::make_unique<client::csv_writer>(stream_);
    if (as_json_) {
      for (const column& one : columns_)
        document_.push_back({{"variable", one.title}, {"values", json::array()}});
    } else {
      for (const column& one : columns_) writer_->cell(one.title);
      writer_->end_row();
    }
  }

  void add(const std::vector<column_values>& values) {
    const std::size_t rows = values.empty() ? 0 : values[0].size(columns_[0]);
    for (std::size_t row = 0; row < rows; ++row) {
      if (columns_that_count_ > 0 && is_blank(values, row)) continue;
      for (std::size_t i = 0; i < columns_.size(); ++i) add_cell(i, values[i], row);
      if (!as_json_) writer_->end_row();
    }
  }

  void finish() {
    if (as_json_) {
      std::fputs(json_text(document_, -1).c_str(), stream_);
      std::fputc('\n', stream_);
    }
    writer_->flush();
  }

 private:
  // Whether all of the last columns are missing in the row.
  bool is_blank(const std::vector<column_values>& values, std::size_t row) const {
    for (std::size_t i = columns_.size() - columns_that_count_; i < columns_.size(); ++i)
      if (!values[i].is_missing(columns_[i], row)) return false;
    return true;
  }

  void add_cell(std::size_t i, const column_values& values, std::size_t row) {
    if (!as_json_) {
      writer_->cell(cell_text(columns_[i], values, row));
      return;
    }
    json& list = document_[i]["values"];
    if (values.is_missing(columns_[i], row))
      list.push_back(nullptr);
    else if (columns_[i].is_text())
      list.push_back(values.texts.values[row]);
    else
      list.push_back(values.numbers.values[row]);
  }

  const std::vector<column>& columns_;
  std::size_t columns_that_count_;
  bool as_json_;
  std::unique_ptr<std::FILE, file_closer> opened_;
  std::FILE* stream_ = nullptr;
  std::unique_ptr<client::csv_writer> writer_;
  json document_ = json::array();
};

void print_table(client::connection& server, const common_options& common, const read_options& options,
                 const std::vector<column>& columns, std::int64_t samples, std::size_t columns_that_count) {
  const auto range = wanted_range(server, options.place, samples);
  table_printer printer(columns, common, options.output, columns_that_count);
  if (range && !columns.empty())
    read_pieces(server, columns, *range, options.place.use(), common.quiet,
                [&](const std::vector<column_values>& values) { printer.add(values); });
  printer.finish();
}

void read(const common_options& common, const read_options& options) {
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    std::vector<column> columns;
    for (const std::string& name : options.variables)
      columns.push_back(open_column(*server, name, options.place.index));
    print_table(*server, common, options, columns, server->file_info().samples, 0);
  });
}

// The places first, then every variable that the file stores; of what the server computes only the
// coordinates of a grid and the number of the line.
void export_file(const common_options& common, const read_options& options) {
  with_session(common, [&](session& server) {
    open_place(*server, options.place);
    const client::file_info info = server->file_info();
    std::vector<column> columns;
    std::set<std::string> placed;
    const auto place = [&](const std::optional<std::string>& name) {
      if (!name || !placed.insert(*name).second) return;
      columns.push_back(open_column(*server, *name));
    };
    place(info.line_number);
    for (const auto& name : info.coordinates) place(name);
    for (const auto& name : info.core_begins) place(name);
    for (const auto& name : info.core_ends) place(name);
    const std::size_t places = columns.size();

    for (const std::string& name : options.variables.empty() ? server->variables() : options.variables) {
      if (placed.contains(name)) continue;
      for (column& one : open_columns(*server, name))
        if (!options.variables.empty() || !one.info.implicit) columns.push_back(std::move(one));
    }
    print_table(*server, common, options, columns, info.samples,
                options.skip_missing ? columns.size() - places : 0);
  });
}

}  // namespace

void add_read_commands(CLI::App& program, const common_options& common) {
  {
    CLI::App* command = program.add_subcommand("read", "Print samples of variables as CSV");
    auto options = std::make_shared<read_options>();
    add_file_arguments(*command, options->place);
    command
        ->add_option("variables", options->variables, "Names; a macro column also as stem[12] or stem{name}")
        ->required()
        ->type_name("VARIABLE");
    add_range_options(*command, options->place);
    command->add_option("--index", options->place.index, "Column of macro variables, by number or name");
    add_unit_options(*command, options->place);
    command->callback([options, &common] { read(common, *options); });
  }
  {
    CLI::App* command = program.add_subcommand("export", "Write a file's places and variables as CSV");
    auto options = std::make_shared<read_options>();
    options->place.own_units = true;
    add_file_arguments(*command, options->place);
    command->add_option("variables", options->variables, "Names (default: all that the file stores)")
        ->type_name("VARIABLE");
    add_range_options(*command, options->place);
    command
        ->add_option_function<std::string>(
            "--unit",
            [options](const std::string& symbol) {
              options->place.unit = symbol;
              options->place.own_units = false;
            },
            "Unit of all lengths (default: each variable's own)")
        ->type_name("SYMBOL");
    command->add_option("-o,--output", options->output, "File to write (default: standard output)")
        ->type_name("FILE.csv");
    command->add_flag("--skip-missing", options->skip_missing, "Leave out samples without any value");
    command->callback([options, &common] { export_file(common, *options); });
  }
}

}  // namespace qrd::command
