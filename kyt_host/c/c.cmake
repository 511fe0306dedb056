# The interface for C, made of what the public headers declare.
find_package(Python3 3.8 REQUIRED COMPONENTS Interpreter)
include(${PROJECT_SOURCE_DIR}/cmake/public_headers.cmake)

set(generated ${PROJECT_BINARY_DIR}/generated)
set(c_header ${generated}/kyt_host/kyt_host_c.h)
set(c_source ${generated}/kyt_host/kyt_host_c.cpp)
file(MAKE_DIRECTORY ${generated}/kyt_host)
add_custom_command(OUTPUT ${c_header} ${c_source} VERBATIM
                   DEPENDS ${CMAKE_CURRENT_LIST_DIR}/generate.py ${header_reader} ${header_files}
                   COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_LIST_DIR}/generate.py ${generated}/kyt_host
                           ${PROJECT_VERSION} ${header_files})
add_custom_target(kyt_host_c_header DEPENDS ${c_header})
add_dependencies(kyt_host kyt_host_c_header)

target_sources(kyt_host PRIVATE ${c_source} ${c_header})
target_include_directories(kyt_host SYSTEM PUBLIC $<BUILD_INTERFACE:${generated}>)  # nobody is to mind its style
# Calls wait for the network; compiling need not take long.
set_source_files_properties(${c_source} PROPERTIES COMPILE_OPTIONS -O1 SKIP_UNITY_BUILD_INCLUSION ON)
install(FILES ${c_header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kyt_host COMPONENT headers)
