# Writes a source that holds files: cmake -D OUTPUT=... -D FILES="URL|PATH;..." -P embed.cmake
set(type_of_css "text/css")
set(type_of_js "text/javascript")
set(type_of_svg "image/svg+xml")
set(type_of_txt "text/plain")
set(type_of_ "text/html")

set(number 0)
foreach(entry IN LISTS FILES)
  string(REGEX MATCH "^([^|]*)\\|(.*)$" entry "${entry}")
  set(url ${CMAKE_MATCH_1})
  set(path ${CMAKE_MATCH_2})
  get_filename_component(ending ${url} LAST_EXT)
  string(REPLACE "." "" ending "${ending}")
  string(APPEND assembler "    \"qrd_page_${number}: .incbin \\\"${path}\\\"\\n\"\n"
                          "    \"qrd_page_end_${number}: .byte 0\\n\"\n")
  string(APPEND symbols "extern const char qrd_page_${number}[], qrd_page_end_${number}[];\n")
  string(APPEND table "      {\"${url}\", \"${type_of_${ending}}; charset=utf-8\", {qrd_page_${number}, qrd_page_end_${number}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include \"view/page.h\"

__asm__(
    \".section .rodata\\n\"
${assembler}    \".text\\n\");

extern \"C\" {
${symbols}}

namespace qrd::view {

std::span<const page_file> page_files() {
  static const page_file files[] = {
${table}  };
  return files;
}

}  // namespace qrd::view
")
