# The typefaces: Inter stands in for the phone's own, Literata (by npm) for the product's serif.
find_program(WOFF2_DECOMPRESS woff2_decompress REQUIRED)
find_file(GLANCERY_SYSTEM_FONT Inter-roman.var.ttf REQUIRED
  PATHS /usr/share/fonts/truetype/inter-vf /usr/local/share/fonts
  DOC "The variable typeface that serves as the phone's own (Debian: fonts-inter-variable)")

# Copies the system's typefaces to where the host looks for them.
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/system/Fonts/Inter-roman.var.ttf
  COMMAND ${CMAKE_COMMAND} -E copy ${GLANCERY_SYSTEM_FONT} ${CMAKE_BINARY_DIR}/system/Fonts/Inter-roman.var.ttf
  DEPENDS ${GLANCERY_SYSTEM_FONT}
  VERBATIM)
add_custom_target(glancery_system_fonts ALL
  DEPENDS ${CMAKE_BINARY_DIR}/system/Fonts/Inter-roman.var.ttf)

# Unpacks the serif into a folder of the build: Literata-latin.ttf covers Spanish, Portuguese and
# French with their quotation marks, Literata-latin-ext.ttf the other Latin languages. Both belong in
# the bundle's UIAppFonts, in this order.
#
#   glancery_serif(folder out_files)
function(glancery_serif folder out_files)
  set(package ${CMAKE_SOURCE_DIR}/node_modules/@fontsource-variable/literata/files)
  set(files)
  foreach(subset latin latin-ext)
    set(packed ${package}/literata-${subset}-opsz-normal.woff2)
    set(unpacked ${folder}/Literata-${subset}.ttf)
    if(NOT EXISTS ${packed})
      message(FATAL_ERROR "The serif's files are not there: run `npm ci` first (${packed})")
    endif()
    # It writes beside its input, under the same name.
    add_custom_command(
      OUTPUT ${unpacked}
      COMMAND ${CMAKE_COMMAND} -E copy ${packed} ${folder}/Literata-${subset}.woff2
      COMMAND ${WOFF2_DECOMPRESS} ${folder}/Literata-${subset}.woff2
      COMMAND ${CMAKE_COMMAND} -E rm ${folder}/Literata-${subset}.woff2
      DEPENDS ${packed}
      VERBATIM)
    list(APPEND files ${unpacked})
  endforeach()
  set(${out_files} ${files} PARENT_SCOPE)
endfunction()
