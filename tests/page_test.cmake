# page_test(name page [names]): the snippets of a page are one program, and it prints what the page says.
# `names` is a file with what the snippets take for granted; each is a scope of its own then.
function(page_test name page)
  set(script ${PROJECT_SOURCE_DIR}/tests/page_program.awk)
  foreach(file program.cpp output.txt)
    add_custom_command(OUTPUT ${name}_page_${file}
                       COMMAND awk -v file=${file} -v names=${ARGN} -f ${script} ${page} > ${name}_page_${file}
                       DEPENDS ${page} ${script} VERBATIM)
  endforeach()
  add_executable(${name}_page ${name}_page_program.cpp ${name}_page_output.txt)
  target_link_libraries(${name}_page PRIVATE planloc_flags planloc)
  target_include_directories(${name}_page PRIVATE ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  add_test(NAME ${name}.page
           COMMAND sh -c "$<TARGET_FILE:${name}_page> | diff ${name}_page_output.txt -")
endfunction()
