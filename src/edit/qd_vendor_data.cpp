#include "edit/qd_vendor_data.h"

#include <cstdio>
#include <cstring>

#include "catalogue/qd_path.h"
#include "disk/qd_descriptor.h"
#include "disk/qd_macro_table.h"
#include "disk/qd_vendor_format.h"
#include "disk/store_state.h"
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
  if (owner.file == nullptr) return qd_directory_path(owner.directory, folder);
  if (owner.variable == nullptr) return qd_file_path(owner.directory, owner.file, folder);
  name_text generic;
  return qd_catalogue_name(owner.variable, generic) &&
         qd_variable_path(owner.directory, owner.file, generic, folder);
}

// The file of a bag, opened. A damaged bag in the folder is fatal.
found st_get_vendor_data_path(const char* name, const vendor_owner& owner, named_file& file) {
  if (!qu_named_file_room(2)) return found::unreadable;
  path_text folder;
  if (!owner_folder(owner, folder)) return found::no;
  const named_search search = qu_named_file_find(folder, vendor_files, name, file);
  if (search == named_search::no_folder && !qd_folder_gone(folder))
    qu_fatal("Fatal Error in %s: bad directory : %s", "st_get_vendor_data_path", folder);
  return qu_found(search);
}

}  // namespace

found qd_vendor_data_version(const char* name, const vendor_owner& owner, std::int64_t& version) {
  named_file file;
  if (const found result = st_get_vendor_data_path(name, owner, file); result != found::yes) return result;
  vendor_data bag;
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  if (!xdr || !qd_vendor_bag_head_read(xdr.get(), bag)) {
    qu_named_file_unread(vendor_files, file);
    return found::unreadable;
  }
  version = bag.version;
  return found::yes;
}

found qd_vendor_data_read(vendor_data& bag, const vendor_owner& owner, const char* name) {
  bag = {};
  named_file file;
  if (const found result = st_get_vendor_data_path(name, owner, file); result != found::yes) return result;
  xdr_stream xdr(file.stream.get(), XDR_DECODE);
  const decoding state = xdr ? qd_vendor_bag_read(xdr.get(), bag) : decoding::corrupted;
  if (state == decoding::corrupted) qu_named_file_unread(vendor_files, file);
  if (state == decoding::done) return found::yes;
  qu_message("An error occured during Vendor Data decoding");
  return found::unreadable;
}

bool qd_vendor_data_write(const vendor_owner& owner, vendor_data& bag) {
  path_text folder;
  if (!owner_folder(owner, folder)) return false;
  const folder_lock lock(folder);
  if (!lock) {
    qu_report_failure("Cannot lock", folder);
    return false;
  }
  // Until here the owner may have gone, and another one have taken its number.
  path_text still;
  if (!lock.is_at(folder) || !owner_folder(owner, still) || std::strcmp(still, folder) != 0) return false;
  named_file old;
  const found present = st_get_vendor_data_path(bag.name, owner, old);
  if (present != found::yes && present != found::no) return false;
  const auto write = [&bag](std::FILE* stream) {
    xdr_stream xdr(stream, XDR_ENCODE);
    return xdr && qd_vendor_bag_write(xdr.get(), bag);
  };
  return qu_named_file_put(folder, vendor_files, present == found::yes ? old.path : nullptr, write);
}

}  // namespace qrd
