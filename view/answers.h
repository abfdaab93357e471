// Everything that the page can ask for; each function is one kind of answer. None of them sends a request
// that changes anything.
#pragma once

#include <map>
#include <string>

#include "view/answer.h"
#include "view/source.h"

namespace qrd::view {

// study, directory: the studies, the directories of one, the files of one.
answer tree_answer(source& from, const query& asked);
// study, directory, file: how the file is made, with all its variables.
answer file_answer(source& from, const query& asked);
// The lines of a file: names and lengths.
answer lines_answer(source& from, const query& asked);
// variable, selection, bins, scale=log: counts, extremes, mean, and a histogram.
answer statistics_answer(source& from, const query& asked);
// variable (several), first, last: what a table shows.
answer rows_answer(source& from, const query& asked);
// variable, every, unit: the values as float64, NaN where missing. Of every so manieth sample; of a grid
// along each axis.
answer column_answer(source& from, const query& asked);
// The same of a text: a uint16 a sample, then the different texts as JSON. 65535 is missing, 65534 beyond the
// list.
answer classes_answer(source& from, const query& asked);
// kind, unit: polygons, wireframes or faults of a file.
answer objects_answer(source& from, const query& asked);
// study: palettes and colour scales.
answer resources_answer(source& from, const query& asked);

using answer_function = answer (*)(source&, const query&);
inline const std::map<std::string, answer_function> answers = {
    {"tree", tree_answer},       {"file", file_answer},           {"lines", lines_answer},
    {"rows", rows_answer},       {"column", column_answer},       {"classes", classes_answer},
    {"objects", objects_answer}, {"resources", resources_answer}, {"statistics", statistics_answer},
};

}  // namespace qrd::view
