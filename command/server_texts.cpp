#include "command/server_texts.h"

#include <string_view>

namespace qrd::command {

namespace {

struct known_text {
  std::string_view part;
  std::string_view help;
};

// The first that fits is used: the particular ones stand before those that end many of them.
constexpr known_text known_texts[] = {
    {"Cannot access directory",
     "--root has to name an existing database; \"qrd --root DIR new study NAME\" makes one"},
    {"QRD_INIT is not", "give the root of the database with --root DIR"},
    {"Application Data folder cannot be retrieved", "give the root of the database with --root DIR"},
    {"Creation failed for the root directory", "the server's account needs to be able to write there"},
    {"Badly formatted version number", "the file DATA of the root is damaged: restore it"},
    {"version number file", "look at the file DATA of the root, and at who may read and write it"},
    {"-recover", "no flag is needed here: the message above it names the file, which has to be restored"},
    {"lower case character", "folders of a database have upper case names: rename the folder that is named"},
    {"when \"", "the place of a study is a file: move it away, or give another place with --path"},
    {"No more study", "make a study first: \"qrd --root DIR new study NAME\""},
    {"Impossible to create a default study", "the server's account needs to be able to write in the root"},
    {"Impossible to create study",
     "look whether the disk is full and whether the server's account may write at the place of the study"},
    {"directory not found",
     "a folder of the study is missing: restore it, or look at \"qrd ls\" for the others"},
    {"directory: Creation failed", "the server's account needs to be able to write in the study"},
    {"IMPOSSIBLE TO RENAME MHISTO",
     "the server's account needs to be able to write in the study's folder PARAM"},
    {"Study Descriptor not found", "the study's folder has no descriptor: restore it, or remove the study"},
    {"not correctly protected",
     "the server's account needs to be able to write and delete in the root and its studies"},
    {"LOCK file", "the server's account needs to be able to write in the study"},
    {"Impossible to delete a file", "the server's account needs to be able to delete in the study"},
    {"Cannot delete directory:", "look at who may write there, and whether another program holds it"},
    {"Cannot delete file:", "look at who may write there, and whether another program holds it"},
    {"Cannot create directory", "look at who may write there, and whether the disk is full"},
    {"File System Full", "look whether the disk is full, and whether the server's account may write there"},
    {"FILE SYSTEM FULL", "look whether the disk is full, and whether the server's account may write there"},
    {"FATAL ERROR in qu_test_open_file", "look at the file that is named, and at who may read and write it"},
    {"unable to read the descriptor", "a descriptor is damaged: restore the file or variable that is named"},
    {"Impossible to read the variable descriptor", "a descriptor is damaged: restore the variable"},
    {"Impossible to write the variable descriptor",
     "look whether the disk is full, and at who may write there"},
    {"DATAVAR open failed", "the values of a variable cannot be opened: look at who may read and write them"},
    {"cannot uncompress", "the compressed values of a variable are damaged: restore them"},
    {"UV_MEM_SIZE", "the server has too little memory for this: read or write fewer samples at once"},
    {"Fatal Software Error", "a fault of the server: what was written before it is whole; please report it"},
    {"Programming Error", "a fault of the server: what was written before it is whole; please report it"},
    {"Invalid Study version",
     "the study is of another version than this server knows: use the program that made it"},
    {"Cannot bind socket", "the port is taken, or the address of QRD_LISTEN_ADDRESS is none of this machine"},
};

}  // namespace

std::string with_help(std::string text) {
  for (const known_text& one : known_texts)
    if (text.find(one.part) != std::string::npos) return text.append("\nhelp: ").append(one.help);
  return text;
}

}  // namespace qrd::command
