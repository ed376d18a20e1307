# Compiles every header alone and included twice, each with only the folders that it may look into.
function(zrb_add_lone_headers target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;INCLUDE_DIRS;LIBRARIES")
  set(sources "")
  foreach(header IN LISTS arg_HEADERS)
    cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE name)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/lone_headers/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n#include \"${header}\"\n")
    list(APPEND sources ${source})
  endforeach()
  if(sources)
    add_library(${target} OBJECT ${sources})
    zrb_configure_target(${target})
    target_include_directories(${target} PRIVATE ${arg_INCLUDE_DIRS})
    target_link_libraries(${target} PRIVATE ${arg_LIBRARIES})
  endif()
endfunction()

file(GLOB public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.h)
file(GLOB_RECURSE host_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/host/*.h)
file(GLOB internal_headers CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/base/*.h ${PROJECT_SOURCE_DIR}/buf/*.h
  ${PROJECT_SOURCE_DIR}/proc/*.h ${PROJECT_SOURCE_DIR}/procs/*.h)
file(GLOB support_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.h)
file(GLOB tool_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/zrb/*.h)

zrb_add_lone_headers(lone_public_headers HEADERS ${public_headers} LIBRARIES zrbbase)
zrb_add_lone_headers(lone_host_headers HEADERS ${host_headers} LIBRARIES zrb_host)
zrb_add_lone_headers(lone_internal_headers HEADERS ${internal_headers}
  INCLUDE_DIRS ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
zrb_add_lone_headers(lone_support_headers HEADERS ${support_headers}
  INCLUDE_DIRS ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR} LIBRARIES zrb_host GTest::gtest)
if(TARGET lone_support_headers)
  target_compile_definitions(lone_support_headers PRIVATE ZRB_DATA_DIR="${PROJECT_SOURCE_DIR}/data")
endif()
if(TARGET zrb_tool)
  zrb_add_lone_headers(lone_tool_headers HEADERS ${tool_headers} LIBRARIES zrb_tool)
endif()
