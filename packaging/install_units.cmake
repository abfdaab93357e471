# Runs within an installation.
cmake_path(ABSOLUTE_PATH QRD_BINDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE QRD_UNIT_BINDIR)
cmake_path(ABSOLUTE_PATH QRD_UNIT_FOLDER BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
foreach(unit QRDserver QRDserver@)
  configure_file("${QRD_UNIT_SOURCES}/${unit}.service.in" "${QRD_UNITS}/${unit}.service" @ONLY)
endforeach()
configure_file("${QRD_UNIT_SOURCES}/QRDserver.socket" "${QRD_UNITS}/QRDserver.socket" COPYONLY)
file(INSTALL "${QRD_UNITS}/QRDserver.service" "${QRD_UNITS}/QRDserver@.service" "${QRD_UNITS}/QRDserver.socket"
     DESTINATION "${QRD_UNIT_FOLDER}")
