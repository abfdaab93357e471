#include "edit/qd_output.h"

#include <cinttypes>
#include <cstring>

#include "catalogue/qd_path.h"
#include "catalogue/qd_test.h"
#include "disk/qd_macro_table.h"
#include "disk/qd_variable_descriptor.h"
#include "edit/qd_manage.h"
#include "samples/qd_check.h"
#include "samples/qd_select.h"
#include "samples/qd_selected.h"
#include "units/qu_units.h"
#include "util/qu_message.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

enum mismatch : int {
  FITS = -1,
  READ_ONLY = 0,
  NOT_SELECTION = 1,
  NOT_FLOAT = 2,
  NOT_FLOAT_LENGTH = 3,
  FLOAT_LENGTH = 4,
  NOT_MACRO = 5,
  NOT_MACRO_LENGTH = 6,
  MACRO_LENGTH = 7,
  NOT_CHAR = 8,
  OTHER_WIDTH = 9,
  OTHER_UNIT = 10,
  OTHER_FACTOR = 11
};

// What a writer asks for. `format` may be null.
struct wanted_variable {
  const char* directory;
  const char* file;
  const char* name;
  std::int32_t type;
  std::int64_t bit_length;
  const qd_format_record* format;
};

constexpr char needed_unit[] = "          HAS A DIFFERENT UNIT (%s) THAN NEEDED (%s)...\n";
constexpr std::int64_t character_bits = 8;

void report_mismatch(mismatch code, const wanted_variable& wanted, const qd_var_info& info) {
  qu_message("\n WARNING: CHECK YOUR PARAMETERS THIS OUTPUT VARIABLE: %s", wanted.name);
  switch (code) {
    case FITS:
      break;
    case READ_ONLY:
      qu_message("          IS READONLY AND CANNOT BE DELETED BEFORE USE...\n");
      break;
    case NOT_SELECTION:
      qu_message("          IS NOT A SELECTION VARIABLE...\n");
      break;
    case NOT_FLOAT:
      qu_message("          IS NOT A FLOAT VARIABLE...\n");
      break;
    case NOT_FLOAT_LENGTH:
      qu_message("          IS NOT A FLOAT LENGTH VARIABLE...\n");
      break;
    case FLOAT_LENGTH:
      qu_message("          IS NOT A FLOAT VARIABLE (BUT A LENGTH ONE)...\n");
      break;
    case NOT_MACRO:
      qu_message("          IS NOT A MACRO VARIABLE...\n");
      break;
    case NOT_MACRO_LENGTH:
      qu_message("          IS NOT A MACRO LENGTH VARIABLE...\n");
      break;
    case MACRO_LENGTH:
      qu_message("          IS NOT A MACRO VARIABLE (BUT A MACRO LENGTH ONE)...\n");
      break;
    case NOT_CHAR:
      qu_message("          IS NOT AN ALPHANUMERIC VARIABLE...\n");
      break;
    case OTHER_WIDTH:
      qu_message("          HAS A DIFFERENT NUMBER OF CHARACTERS (%" PRId64 ") THAN NEEDED (%" PRId64
                 ")...\n",
                 wanted.bit_length / character_bits, info.bit_length / character_bits);
      break;
    case OTHER_UNIT:
      qu_message(needed_unit, info.format.unit, wanted.format->unit);
      break;
    case OTHER_FACTOR: {
      const char* had = qu_unit_name(info.format.factor);
      const char* needed = qu_unit_name(wanted.format->factor);
      if (had != nullptr && needed != nullptr)
        qu_message(needed_unit, had, needed);
      else
        qu_message("          HAS A DIFFERENT UNIT THAN NEEDED...\n");
      break;
    }
  }
}

// Of the factors of a float or macro variable and of the wanted format.
mismatch compare_factors(const qd_format_record& wanted, const qd_var_info& info, mismatch not_length,
                         mismatch is_length) {
  if (wanted.factor == info.format.factor) return FITS;
  if (info.format.length_flag == 0) return not_length;
  return wanted.length_flag == 0 ? is_length : OTHER_FACTOR;
}

// Of an existing variable with what is asked for, except the unit's text.
mismatch compare(const wanted_variable& wanted, int name_class, const qd_var_info& info) {
  if (wanted.bit_length == 1 && info.bit_length != 1) return NOT_SELECTION;
  switch (wanted.type) {
    case VAR_FLOAT:
      if (info.type == VAR_CHAR || (info.type == VAR_MACRO && name_class < 1)) return NOT_FLOAT;
      if (wanted.format == nullptr) return FITS;
      return compare_factors(*wanted.format, info, NOT_FLOAT_LENGTH, FLOAT_LENGTH);
    case VAR_MACRO:
      if (info.type != VAR_MACRO) return NOT_MACRO;
      if (wanted.format == nullptr) return FITS;
      return compare_factors(*wanted.format, info, NOT_MACRO_LENGTH, MACRO_LENGTH);
    case VAR_CHAR:
      if (info.type != VAR_CHAR) return NOT_CHAR;
      return info.bit_length == wanted.bit_length ? FITS : OTHER_WIDTH;
    default:
      qu_fatal("qd_new_old_var_select: erroneous parameters");
  }
}

// Gives a variable that has no unit text the wanted one. 1 or 0.
int adopt_unit(const qd_variable_handle& handle, const qd_format_record& format) {
  const char* path = qd_entry(handle.entry)->variable_path;
  qd_variable_record record;
  if (qd_variable_descriptor_read(path, record) == 0) return 0;
  qu_string_copy(format.unit, record.format.unit);
  return qd_variable_descriptor_write(path, record);
}

// A selected variable is to be kept as it is: 1 if it fits, else 0.
int keep(const wanted_variable& wanted, int name_class, const qd_var_info& info,
         const qd_variable_handle& handle) {
  mismatch code = compare(wanted, name_class, info);
  if (code == FITS && wanted.format != nullptr && wanted.type != VAR_CHAR &&
      std::strcmp(wanted.format->unit, info.format.unit) != 0) {
    if (info.format.unit[0] == '\0') return adopt_unit(handle, *wanted.format);
    if (wanted.format->unit[0] != '\0') code = OTHER_UNIT;
  }
  if (code == FITS) return 1;
  report_mismatch(code, wanted, info);
  return 0;
}

// A computed variable or the place of a sample. A stored Z may be replaced.
bool is_read_only(const qd_var_info& info) {
  return info.implicit != 0 || info.kind == KIND_X || info.kind == KIND_Y ||
         (info.kind >= KIND_X_BEGIN && info.kind <= KIND_Z_END);
}

// One column of an existing macro can be written, but neither made nor deleted here.
bool column_fits(bool overwrite, const wanted_variable& wanted, const name_text& generic) {
  path_text path;
  if (qd_variable_path(wanted.directory, wanted.file, generic, path) == 0) return false;
  macro_descriptor macro(qd_macro_descr_read(path));
  if (!macro) return false;
  bool known = qd_macro_name_alpha_indice(*macro, wanted.name, nullptr) > 0;
  if (known && !overwrite) return true;
  qu_message("\n WARNING: CHECK YOUR PARAMETERS THIS VARIABLE");
  if (known) {
    qu_message("          IS A MACRO VARIABLE WITH A CORRECT INDICE");
    qu_message("          BUT CANNOT BE DELETED AS A STANDARD VARIABLE\n");
  } else {
    qu_message("          IS A MACRO VARIABLE WITH AN INCORRECT INDICE...\n");
  }
  qu_message("              DIRECTORY NAME: >>>%s<<<", wanted.directory);
  qu_message("                   FILE NAME: >>>%s<<<", wanted.file);
  qu_message("           BAD VARIABLE NAME: >>>%s<<<\n\n", wanted.name);
  return false;
}

int create(const wanted_variable& wanted, unit_choice choice, qd_variable_handle& handle) {
  if (wanted.bit_length < 1) qu_fatal("qd_new_old_var_select: erroneous parameters");
  if (qd_create_variable(wanted.directory, wanted.file, wanted.name, wanted.type, KIND_PLAIN,
                         wanted.bit_length, wanted.type == VAR_CHAR ? nullptr : wanted.format) == 0)
    return 0;
  return qd_variable_select(wanted.directory, wanted.file, wanted.name, choice, handle);
}

}  // namespace

int qd_new_old_var_select(bool overwrite, const char* directory, const char* file, const char* variable,
                          std::int32_t type, unit_choice choice, std::int64_t bit_length,
                          const qd_format_record* format, qd_variable_handle& handle) {
  handle = {};
  if (type != VAR_CHAR && type != VAR_MACRO) type = VAR_FLOAT;
  const wanted_variable wanted{directory, file, variable, type, bit_length, format};

  name_text generic;
  int name_class = qd_macro_name_kind(variable);
  int missing = qd_catalogue_name(variable, generic) ? qd_variable_test(false, directory, file, generic) : 1;
  if (missing == 2) return 0;
  if (missing == 1) return create(wanted, choice, handle);
  if (name_class > 0 && !column_fits(overwrite, wanted, generic)) return 0;

  selected_variable existing;
  qd_var_info info;
  if (qd_variable_select(directory, file, variable, choice, existing.handle) == 0) return 0;
  if (qd_info_var_ident(existing.handle, info) == 0) return 0;
  if (!overwrite) {
    if (keep(wanted, name_class, info, existing.handle) == 0) return 0;
    handle = existing.handle;
    existing.handle = {};
    return 1;
  }
  if (is_read_only(info)) {
    report_mismatch(READ_ONLY, wanted, info);
    return 0;
  }
  existing.handle = qd_delete_variable(existing.handle);
  return create(wanted, choice, handle);
}

}  // namespace qrd
