# Several sources compiled in one go: builds that nobody debugs with, and static analysis, are then a few times quicker. A
# name in two unnamed namespaces is one too many then: where names recur, as those of operations do, each source is
# compiled alone.
option(KYT_HOST_UNITY "Compile the sources a dozen at a time" OFF)
if(KYT_HOST_UNITY)
  foreach(target kyt_host_objects virtual_controller_objects kyt_common kyt kyt_bridge communication_test)
    if(TARGET ${target})
      set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    endif()
  endforeach()
  if(TARGET virtual_controller_objects)
    file(GLOB operations CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/virtual_controller/operations/*.cpp)
    set_property(SOURCE ${operations} TARGET_DIRECTORY virtual_controller_objects PROPERTY SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  if(TARGET communication_test)  # fixtures stand in unnamed namespaces
    target_compile_options(communication_test PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endif()
