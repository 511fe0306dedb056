# What our own builds ask of the compiler; nobody who merely uses the library gets any of it.
add_library(developer_flags INTERFACE)
if(KYT_HOST_DEVELOPER)
  target_compile_options(developer_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                   -Woverloaded-virtual -Wold-style-cast -Werror)
  # What has been compiled before is not compiled again, where ccache is installed.
  find_program(CCACHE ccache)
  if(CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
  endif()
  # Programs side by side, where the scripts find them.
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()
if(KYT_HOST_SANITIZE)
  add_compile_options(-fsanitize=${KYT_HOST_SANITIZE} -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=${KYT_HOST_SANITIZE})
  if(KYT_HOST_SANITIZE MATCHES "undefined")
    # The check of virtual tables opens a pipe to probe memory, and finds fault when no descriptor is left.
    add_compile_options(-fno-sanitize-recover=undefined -fno-sanitize=vptr)
  endif()
  if(KYT_HOST_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(developer_flags INTERFACE -Wno-maybe-uninitialized)  # mistaken about std::regex, then only
  endif()
  if(KYT_HOST_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan)  # asio's fences, on which nothing here relies
  endif()
endif()
if(KYT_HOST_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()
if(KYT_HOST_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
