// Palettes: named lists of up to 256 RGB colours, one small text file each. Line 1 is the name, each
// further line one colour as "%3d %3d %3d". The user's palettes stand in the study and hide system
// palettes of the same name, which stand in the root and are only read.
#pragma once

#include <array>
#include <cstdint>

#include "util/qu_constants.h"
#include "util/qu_list.h"
#include "util/qu_outcome.h"

namespace qrd {

inline constexpr int palette_maximum = 256;
inline constexpr int palette_value_maximum = 255;
inline constexpr char palette_prefix[] = "PAL.";
inline constexpr char lithology_prefix[] = "LIT.";

struct palette_colours {
  std::int32_t count = 0;
  std::array<std::int32_t, palette_maximum> red{}, green{}, blue{};
};

// A folder of palettes that can't be listed is fatal. May end the process, here and below.

enum class [[nodiscard]] palette_writing{
    done,
    not_created,  // the name is "None" or taken, or no file can be made
    failed        // it could not be written
};
palette_writing qu_palit_new_name(const char* name, const char* prefix, const palette_colours& colours = {});
// All names, sorted.
string_list qu_palette_get_list();
// Unreadable: one that may be meant can't be read now.
found qu_palette_exists(const char* name);
// False after a report if it isn't found, or can't be read now.
[[nodiscard]] bool qu_palette_read(const char* name, palette_colours& colours);
// 0 if it can't be read.
std::int32_t qu_palette_size(const char* name);
// False when the palette is not one of the user's, or after a report: it is as it was then.
[[nodiscard]] bool qu_palette_save(const char* name, const palette_colours& colours);
// Writes a palette of the user's, old or new, while nobody else does. A failure has changed nothing.
palette_writing qu_palette_write(const char* name, const palette_colours& colours);
enum class [[nodiscard]] palette_deletion{
    done,
    failed,  // or it isn't one of the user's
    in_use   // a colour scale uses it, or one can't be read
};
palette_deletion qu_palit_delete(const char* name, const char* prefix);

}  // namespace qrd
