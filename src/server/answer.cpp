// The table of all requests, and the dispatch by it.
#include <cstring>
#include <iterator>
#include <new>

#include "colour/answers.h"
#include "geometry/answers.h"
#include "samples/answers.h"
#include "server/answering.h"
#include "server/answers.h"
#include "server/trace.h"
#include "store/answers.h"
#include "units/answers.h"

namespace qrd {

namespace {

struct request_row {
  const char* name;
  request_status (*handler)(const char* request);
  const char* traced_name;
};

constexpr request_row request_table[] = {
    {"CHELLO", server_answer_hello, "server_answer_hello"},
    {"CNEWSESS", server_answer_session, "server_answer_session"},
    {"CQRDDATA", server_answer_qrd_init, "server_answer_qrd_init"},
    {"CSUPREQ", st_answer_supported_req, "st_answer_supported_req"},
    {"CARCH", st_answer_arch, "st_answer_arch"},
    {"CBYE BYE", server_answer_byebye, "server_answer_byebye"},
    {"CUNITMODE", server_answer_set_unit_mode, "server_answer_set_unit_mode"},
    {"CDISTUSET", server_answer_set_dist_unit, "server_answer_set_dist_unit"},
    {"CUNITCR", server_answer_set_creation_units, "server_answer_set_creation_units"},
    {"CSTUDYLST", server_answer_study_list, "server_answer_study_list"},
    {"CSTUDYSET", server_answer_study_set, "server_answer_study_set"},
    {"CSTUDYNEW", server_answer_study_new, "server_answer_study_new"},
    {"CSTUDYDEL", server_answer_study_del, "server_answer_study_del"},
    {"CDIRNEW", server_answer_dir_new, "server_answer_dir_new"},
    {"CDIRLST", server_answer_dir_list, "server_answer_dir_list"},
    {"CDIRXIST", server_answer_dir_exists, "server_answer_dir_exists"},
    {"CDIRSET", server_answer_dir_set, "server_answer_dir_set"},
    {"CDIRDEL", server_answer_dir_del, "server_answer_dir_del"},
    {"CFILELST", server_answer_file_list, "server_answer_file_list"},
    {"CFILETLST", server_answer_file_list, "server_answer_file_list"},
    {"CFILEXIST", server_answer_file_exists, "server_answer_file_exists"},
    {"CFILESET", server_answer_file_set, "server_answer_file_set"},
    {"CFILEDEL", server_answer_file_del, "server_answer_file_del"},
    {"CFILEINFO", server_answer_file_info, "server_answer_file_info"},
    {"CPFILENEW", server_answer_points_file_new, "server_answer_points_file_new"},
    {"CPFILEAPP", server_answer_points_file_append, "server_answer_points_file_append"},
    {"CGFILENEW", server_answer_grid_file_new, "server_answer_grid_file_new"},
    {"CLFILENEW", server_answer_lines_file_new, "server_answer_lines_file_new"},
    {"CLFILEAPP", server_answer_lines_file_append, "server_answer_lines_file_append"},
    {"CLFILEAPC", server_answer_lines_file_append_cores, "server_answer_lines_file_append_cores"},
    {"CLFILELNK", server_answer_lines_file_create_link, "server_answer_lines_file_create_link"},
    {"CLFILECNT", server_answer_lines_file_samples_count, "server_answer_lines_file_samples_count"},
    {"GRIDMODO", server_answer_grid_file_modify_origin, "server_answer_grid_file_modify_origin"},
    {"GRIDMODM", server_answer_grid_file_modify_mesh, "server_answer_grid_file_modify_mesh"},
    {"GRIDMODR", server_answer_grid_file_modify_rotation, "server_answer_grid_file_modify_rotation"},
    {"CSELSET", server_answer_sel_set, "server_answer_sel_set"},
    {"CCOMGET", server_answer_comment_get, "server_answer_comment_get"},
    {"CCOMSET", server_answer_comment_set, "server_answer_comment_set"},
    {"CVARLST", server_answer_var_list, "server_answer_var_list"},
    {"CVARTLST", server_answer_var_list, "server_answer_var_list"},
    {"CVARXIST", server_answer_var_exists, "server_answer_var_exists"},
    {"CVARSET", server_answer_var_set, "server_answer_var_set"},
    {"CVARDEL", server_answer_var_del, "server_answer_var_del"},
    {"CINDSET", server_answer_indice_set, "server_answer_indice_set"},
    {"CINDASET", server_answer_indice_set, "server_answer_indice_set"},
    {"CVARINFO", server_answer_var_info, "server_answer_var_info"},
    {"CMACROIND", server_answer_macro_indices, "server_answer_macro_indices"},
    {"CMACROALP", server_answer_macro_indices, "server_answer_macro_indices"},
    {"CMACROADD", server_answer_add_macro_indices, "server_answer_add_macro_indices"},
    {"CREADVARF", server_answer_read_float_var, "server_answer_read_float_var"},
    {"CREADLINF", server_answer_read_line_float_var, "server_answer_read_float_var"},
    {"CREADVARS", server_answer_read_selection_var, "server_answer_read_selection_var"},
    {"CREADVARC", server_answer_read_char_var, "server_answer_read_char_var"},
    {"CVARFNEW", server_answer_var_float_new, "server_answer_var_float_new"},
    {"CVARMNEW", server_answer_var_float_new, "server_answer_var_float_new"},
    {"CVARCNEW", server_answer_var_char_new, "server_answer_var_char_new"},
    {"CVARCOMM", server_answer_comment_set, "server_answer_comment_set"},
    {"CWRITVARF", server_answer_write_float_var, "server_answer_write_float_var"},
    {"CWRITLINF", server_answer_write_line_float_var, "server_answer_write_line_float_var"},
    {"CWRITVARS", server_answer_write_selection_var, "server_answer_write_selection_var"},
    {"CWRITVARC", server_answer_write_char_var, "server_answer_write_char_var"},
    {"CVARUNIT", server_answer_set_var_unit, "server_answer_set_var_unit"},
    {"CVARLNAME", server_answer_var_as_line_name, "server_answer_var_as_line_name"},
    {"CFAULTS", server_answer_faults, "server_answer_faults"},
    {"CWRITFAUL", server_answer_write_faults, "server_answer_write_faults"},
    {"CVDATVERS", server_answer_vendor_data_version, "server_answer_vendor_data_version"},
    {"CVDATREAD", server_answer_vendor_data_read, "server_answer_vendor_data_read"},
    {"CVDATWRIT", server_answer_vendor_data_write, "server_answer_vendor_data_write"},
    {"CVDATEXIS", server_answer_vendor_data_exists, "server_answer_vendor_data_exists"},
    {"CPOLYGONS", server_answer_polygons, "server_answer_polygons"},
    {"CPOLYNEW", server_answer_polygons_new, "server_answer_polygons_new"},
    {"CWIREREAD", server_answer_wireframes_read, "server_answer_wireframes_read"},
    {"CWIRENEW", server_answer_new_wireframes, "server_answer_new_wireframes"},
    {"CPALLST", server_answer_palette_list, "server_answer_palette_list"},
    {"CPALXIST", server_answer_palette_exists, "server_answer_palette_exists"},
    {"CPALWRIT", server_answer_palette_write, "server_answer_palette_write"},
    {"CPALREAD", server_answer_palette_read, "server_answer_palette_read"},
    {"CPALDEL", server_answer_palette_delete, "server_answer_palette_delete"},
    {"CSCALST", server_answer_cscale_list, "server_answer_cscale_list"},
    {"CSCAXIST", server_answer_cscale_exists, "server_answer_cscale_exists"},
    {"CSCANEW", server_answer_cscale_new, "server_answer_cscale_new"},
    {"CSCAREAD", server_answer_cscale_read, "server_answer_cscale_read"},
    {"CSCADEL", server_answer_cscale_delete, "server_answer_cscale_delete"},
};
static_assert(std::size(request_table) == 83);

}  // namespace

request_status server_answer(const char* request) {
  for (const request_row& row : request_table) {
    if (std::strcmp(request, row.name) != 0) continue;
    if (trace_level >= 1) _qrd_trace_enter(row.traced_name, 0);
    request_status status = not_served;
    try {
      status = row.handler(request);
    } catch (const std::bad_alloc&) {
      // Some small thing found no memory; what it was is lost, the process and its client are not.
      status = refuse("Memory allocation failed");
    }
    if (trace_level >= 1) _qrd_trace_exit("%d", static_cast<int>(status));
    if (status != not_served) return status;
    // The rest of an answer that came to nothing must not precede the next one.
    _qrd_empty_write();
    server_debug(1, "Error while processing [%s] request.", request);
    return status;
  }
  const request_status status = clean_and_refuse("Unrecognized request [%s]", request);
  server_debug(1, "Unrecognized request [%s]", request);
  return status;
}

// CSUPREQ: lists the request names.
request_status st_answer_supported_req(const char* /*request*/) {
  server_debug(0, "Sending List of Supported Requests");
  const char* names[std::size(request_table)];
  for (std::size_t i = 0; i < std::size(request_table); ++i) names[i] = request_table[i].name;
  constexpr auto count = static_cast<std::int32_t>(std::size(request_table));
  return answer("SSUPREQ", wire_int{count}, wire_strings{names, count});
}

}  // namespace qrd
