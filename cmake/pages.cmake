# program_page(TARGET FILE DESTINATION ARGUMENT...): what a program tells about itself when it is given the arguments,
# for man and the shells, and where that is installed.
function(program_page target file destination)
  if(CMAKE_CROSSCOMPILING)
    return()
  endif()
  add_custom_command(OUTPUT ${file} DEPENDS ${target} COMMAND ${target} ${ARGN} > ${file} VERBATIM)
  add_custom_target(page_${file} ALL DEPENDS ${file})
  get_filename_component(folder ${destination} DIRECTORY)
  get_filename_component(name ${destination} NAME)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${file} DESTINATION ${folder} RENAME ${name})
endfunction()
