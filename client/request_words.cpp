#include "client/request_words.h"

namespace qrd::client {

namespace {

struct request_words {
  std::string_view name;
  std::string_view words;
};
constexpr request_words known_requests[] = {
    {"CHELLO", "greeting"},
    {"CNEWSESS", "asking for a session"},
    {"CQRDDATA", "opening the database"},
    {"CSUPREQ", "listing the requests"},
    {"CARCH", "agreeing on the size of numbers"},
    {"CBYE BYE", "saying goodbye"},
    {"CUNITMODE", "setting units"},
    {"CDISTUSET", "setting units"},
    {"CUNITCR", "setting units"},
    {"CSTUDYLST", "listing studies"},
    {"CSTUDYSET", "opening a study"},
    {"CSTUDYNEW", "making a study"},
    {"CSTUDYDEL", "deleting a study"},
    {"CDIRNEW", "making a directory"},
    {"CDIRLST", "listing directories"},
    {"CDIRXIST", "looking for a directory"},
    {"CDIRSET", "choosing a directory"},
    {"CDIRDEL", "deleting a directory"},
    {"CFILELST", "listing files"},
    {"CFILETLST", "listing files"},
    {"CFILEXIST", "looking for a file"},
    {"CFILESET", "choosing a file"},
    {"CFILEDEL", "deleting a file"},
    {"CFILEINFO", "describing a file"},
    {"CPFILENEW", "making a points file"},
    {"CPFILEAPP", "appending points"},
    {"CGFILENEW", "making a grid file"},
    {"CLFILENEW", "making a lines file"},
    {"CLFILEAPP", "appending a line"},
    {"CLFILEAPC", "appending cores"},
    {"CLFILELNK", "linking a lines file"},
    {"CLFILECNT", "counting samples of lines"},
    {"GRIDMODO", "moving a grid"},
    {"GRIDMODM", "changing a grid's mesh"},
    {"GRIDMODR", "turning a grid"},
    {"CSELSET", "choosing a selection"},
    {"CCOMGET", "reading a comment"},
    {"CCOMSET", "writing a comment"},
    {"CVARLST", "listing variables"},
    {"CVARTLST", "listing variables"},
    {"CVARXIST", "looking for a variable"},
    {"CVARSET", "choosing a variable"},
    {"CVARDEL", "deleting a variable"},
    {"CINDSET", "choosing a macro index"},
    {"CINDASET", "choosing a macro index"},
    {"CVARINFO", "describing a variable"},
    {"CMACROIND", "listing macro indices"},
    {"CMACROALP", "listing macro indices"},
    {"CMACROADD", "adding macro indices"},
    {"CREADVARF", "reading numbers"},
    {"CREADLINF", "reading a line"},
    {"CREADVARS", "reading a selection"},
    {"CREADVARC", "reading texts"},
    {"CVARFNEW", "making a variable"},
    {"CVARMNEW", "making a macro variable"},
    {"CVARCNEW", "making a text variable"},
    {"CVARCOMM", "writing a comment"},
    {"CWRITVARF", "writing numbers"},
    {"CWRITLINF", "writing a line"},
    {"CWRITVARS", "writing a selection"},
    {"CWRITVARC", "writing texts"},
    {"CVARUNIT", "setting a unit"},
    {"CVARLNAME", "naming lines"},
    {"CFAULTS", "reading faults"},
    {"CWRITFAUL", "writing faults"},
    {"CPOLYGONS", "reading polygons"},
    {"CPOLYNEW", "writing polygons"},
    {"CWIREREAD", "reading wireframes"},
    {"CWIRENEW", "writing wireframes"},
    {"CPALLST", "listing palettes"},
    {"CPALXIST", "looking for a palette"},
    {"CPALREAD", "reading a palette"},
    {"CPALWRIT", "writing a palette"},
    {"CPALDEL", "deleting a palette"},
    {"CSCALST", "listing scales"},
    {"CSCAXIST", "looking for a scale"},
    {"CSCAREAD", "reading a scale"},
    {"CSCANEW", "writing a scale"},
    {"CSCADEL", "deleting a scale"},
    {"CVDATEXIS", "looking for vendor data"},
    {"CVDATVERS", "reading vendor data"},
    {"CVDATREAD", "reading vendor data"},
    {"CVDATWRIT", "writing vendor data"},
};

}  // namespace

std::string words_for_request(std::string_view name) {
  for (const request_words& request : known_requests)
    if (request.name == name) return std::string(request.words);
  return "talking";
}

}  // namespace qrd::client
