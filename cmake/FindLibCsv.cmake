# Finds libcsv (csv.h and -lcsv), which comes without a description of itself.  Defines LibCsv::csv.
find_path(LibCsv_INCLUDE_DIR csv.h)
find_library(LibCsv_LIBRARY csv)
mark_as_advanced(LibCsv_INCLUDE_DIR LibCsv_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibCsv REQUIRED_VARS LibCsv_LIBRARY LibCsv_INCLUDE_DIR)

if(LibCsv_FOUND AND NOT TARGET LibCsv::csv)
  add_library(LibCsv::csv UNKNOWN IMPORTED)
  set_target_properties(LibCsv::csv PROPERTIES
    IMPORTED_LOCATION ${LibCsv_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${LibCsv_INCLUDE_DIR})
endif()
