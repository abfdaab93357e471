// Descriptors on disk and the way from names to paths. Every call reads the disk.
#pragma once

#include <cstdio>
#include <string>

#include "store/qd_records.h"

namespace qrd {

// Paths of DIRE.<n>, FILE.<m>, VARI.<k>: 1 found, 0 not found or a sibling is corrupted.
int qd_directory_path(const char* directory, path_text& path);
int qd_file_path(const char* directory, const char* file, path_text& path);
// `variable` carries no index.
int qd_variable_path(const char* directory, const char* file, const char* variable, path_text& path);
// The same below a known parent path.
int qd_file_path_in(const char* directory_path, const char* file, path_text& path);
int qd_variable_path_in(const char* file_path, const char* variable, path_text& path);
// The name under which the catalogue holds a variable: stem[12] and stem{gold} become stem[xxxxx]. False if
// no object can have it, because it doesn't fit a descriptor.
bool qd_catalogue_name(const char* variable, name_text& name);

// 1 or 0 after a report. Reading rewrites an old version. What another server has taken away gives 0 without
// a report, and qd_object_gone tells so. None of them ends the process.
int qd_directory_descriptor_read(const char* path, name_text& name);
int qd_directory_descriptor_write(const char* path, const char* name);
int qd_file_descriptor_read(const char* path, qd_file_record& record);
int qd_file_descriptor_write(const char* path, const qd_file_record& record);
int qd_variable_descriptor_read(const char* path, qd_variable_record& record);
int qd_variable_descriptor_write(const char* path, const qd_variable_record& record);
// The bytes of a descriptor into an open file (see descriptor_changes).
bool qd_file_descriptor_put(std::FILE* stream, const qd_file_record& record);
bool qd_variable_descriptor_put(std::FILE* stream, const qd_variable_record& record);
// True if the last file of an object that was read or written is no longer there.
bool qd_object_gone();

// False if the data file of such a variable would be longer than 64 bits can tell.
bool qd_data_length_fits(const qd_file_record& file, const qd_variable_record& variable);

// Sets rotated, m and t from the angles.
void qd_grid_compute(qd_grid_record& grid);

// 0 read; 1 no comment file (empty text); 2 no such object; 3 it is there and can't be read. Null variable:
// the file's comment.
inline constexpr int comment_unreadable = 3;
int qd_comment_read(const char* directory, const char* file, const char* variable, std::string& text);
// 0 written; 1 failure; 2 no such object. The text always replaces the old one.
int qd_comment_write(const char* directory, const char* file, const char* variable, int append,
                     const char* text);

}  // namespace qrd
