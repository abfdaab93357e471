#include "edit/qd_vendor_data.h"

#include <cstdio>
#include <cstring>

#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_vendor_format.h"
#include "disk/store_state.h"
#include "util/qu_file.h"
#include "util/qu_lock.h"
#include "util/qu_message.h"
#include "util/qu_named_file.h"
#include "util/qu_string.h"

namespace qrd {

namespace {

constexpr named_file_kind vendor_files = {"VENDOR.", "WARNING: A DATA VENDOR IS CORRUPTED:",
                                          "WARNING: MAXIMUM NUMBER OF VENDOR DATA FILES REACHED"};

bool owner_folder(const vendor_owner& owner, path_text& folder) {
  if (owner.directory == nullptr) {
    qu_path_join(folder, {store.study_path});
    return true;
  }
  if (owner.file == nullptr) return qd_directory_path(owner.directory, folder) != 0;
  if (owner.variable == nullptr) return qd_file_path(owner.directory, owner.file, folder) != 0;
  name_text generic;
  return qd_catalogue_name(owner.variable, generic) &&
         qd_variable_path(owner.directory, owner.file, generic, folder) != 0;
}

// The file of a bag, opened. 0 found; 1 not found, or no owner; 2 too many files are open, or one that may be
// meant can't be read now. A damaged bag in the folder is fatal.
int st_get_vendor_data_path(const char* name, const vendor_owner& owner, named_file& file) {
  if (!qu_named_file_room(2)) return 2;
  path_text folder;
  if (!owner_folder(owner, folder)) return 1;
  switch (qu_named_file_find(folder, vendor_files, name, file)) {
    case named_search::found:
      return 0;
    case named_search::ended:
      return 1;
    case named_search::unreadable:
      return 2;
    case named_search::no_folder:
      break;
  }
  if (!qd_folder_gone(folder))
    qu_fatal("Fatal Error in %s: bad directory : %s", "st_get_vendor_data_path", folder);
  return 1;
}

}  // namespace

int qd_vendor_data_version(const char* name, const vendor_owner& owner, std::int64_t& version) {
  named_file file;
  if (int result = st_get_vendor_data_path(name, owner, file); result != 0) return result;
  vendor_data bag;
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  if (!xdr || !qd_vendor_bag_head_read(xdr.get(), bag)) {
    qu_named_file_unread(vendor_files, file);
    return 2;
  }
  version = bag.version;
  return 0;
}

int qd_vendor_data_read(vendor_data& bag, const vendor_owner& owner, const char* name) {
  bag = {};
  named_file file;
  if (int result = st_get_vendor_data_path(name, owner, file); result != 0) return result;
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  const decoding state = xdr ? qd_vendor_bag_read(xdr.get(), bag) : decoding::corrupted;
  if (state == decoding::corrupted) qu_named_file_unread(vendor_files, file);
  if (state == decoding::done) return 0;
  qu_message("An error occured during Vendor Data decoding");
  return 2;
}

int qd_vendor_data_write(const vendor_owner& owner, vendor_data& bag) {
  path_text folder;
  if (!owner_folder(owner, folder)) return 1;
  const folder_lock lock(folder);
  if (!lock) {
    qu_report_failure("Cannot lock", folder);
    return 1;
  }
  // Until here the owner may have gone, and another one have taken its number.
  path_text still;
  if (!lock.is_at(folder) || !owner_folder(owner, still) || std::strcmp(still, folder) != 0) return 1;
  named_file old;
  const int present = st_get_vendor_data_path(bag.name, owner, old);
  if (present == 2) return 1;
  const auto write = [&bag](std::FILE* stream) {
    xdr_stream xdr(stream, XDR_ENCODE);
    return xdr && qd_vendor_bag_write(xdr.get(), bag);
  };
  return qu_named_file_put(folder, vendor_files, present == 0 ? old.path : nullptr, write) ? 0 : 1;
}

}  // namespace qrd
