# Several sources of a library compiled in one go: builds that nobody debugs with, and static analysis, are then a few
# times quicker. A name in two unnamed namespaces is one too many then: where names recur, as those of operations do, each
# source is compiled alone.
option(KYT_HOST_UNITY "Compile the libraries' sources a dozen at a time" OFF)
if(KYT_HOST_UNITY)
  set(unity_targets kyt_host_objects)
  if(TARGET virtual_controller_objects)
    list(APPEND unity_targets virtual_controller_objects)
    file(GLOB operations CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/virtual_controller/operations/*.cpp)
    set_property(SOURCE ${operations} TARGET_DIRECTORY virtual_controller_objects PROPERTY SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  set_target_properties(${unity_targets} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
endif()
