# Every public header with an operation, a record or a constant, in `public_headers` as it is included and in
# `header_files` as it is found; types and records first. Only what nothing is made of is named here: the classes that
# the connections are made of. `header_reader` reads them.
file(GLOB public_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
     ${PROJECT_SOURCE_DIR}/kyt_host/*.h ${PROJECT_SOURCE_DIR}/kyt_host/*/*.h)
list(FILTER public_headers EXCLUDE REGEX
     "/(c|detail|codec|exchange|robot)/|/command/[a-z_]*(command|commands|to_json)\\.h$|/(kyt_host|kyt_interface|export|asio_tcp_backend|backend_base|communication|communication_manager|exchanges|listener|message_base_strategy|message_manager|motion_queue|names|reply_handlers|robot)\\.h$")
set(used_by_others ${public_headers})
list(FILTER used_by_others INCLUDE REGEX "/(types|line_records)\\.h$|/records/")
list(REMOVE_ITEM public_headers ${used_by_others})
list(REVERSE used_by_others)  # types before records
list(PREPEND public_headers ${used_by_others})
list(TRANSFORM public_headers PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE header_files)
set(header_reader ${PROJECT_SOURCE_DIR}/cmake/headers.py)
