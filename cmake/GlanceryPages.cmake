# Embeds the text files of a folder, and any others, in a target, as they are, as a
# `std::span<const host::PageFile>` with that name. They are read at build time, so the next build embeds a changed file.
#
#   glancery_page_files(target kName folder [files...])
#
# Run as a script, with NAME, OUTPUT and FILES (separated by |), this file writes the source.
if(CMAKE_SCRIPT_MODE_FILE)
  string(REPLACE "|" ";" FILES "${FILES}")
  set(rows "")
  foreach(file ${FILES})
    cmake_path(GET file FILENAME name)
    file(READ ${file} text)
    string(APPEND rows "    {\"/${name}\", R\"~~~~(${text})~~~~\"},\n")
  endforeach()
  file(WRITE ${OUTPUT} "#include \"host/pages/page_files.h\"\n
namespace host {\n
constexpr PageFile kFiles[] = {\n${rows}};\n
extern const std::span<const PageFile> ${NAME};
const std::span<const PageFile> ${NAME} = kFiles;\n
}  // namespace host\n")
  return()
endif()

set(GLANCERY_PAGES_SCRIPT ${CMAKE_CURRENT_LIST_FILE})
function(glancery_page_files target name folder)
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*)
  list(APPEND files ${ARGN})
  list(JOIN files "|" joined)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -D NAME=${name} -D OUTPUT=${output} -D FILES=${joined}
            -P ${GLANCERY_PAGES_SCRIPT}
    DEPENDS ${files} ${GLANCERY_PAGES_SCRIPT}
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
  if(NOT target STREQUAL host_pages)
    target_link_libraries(${target} PRIVATE host_pages)
  endif()
endfunction()
