# The typefaces: Inter in place of the phone's system font, Literata (by npm) for the product's serif.
find_program(WOFF2_DECOMPRESS woff2_decompress REQUIRED)

# What the host takes for the phone's own typefaces, where it looks for them. Those below Fallback are
# opened only for a character that no other has: weekdays of other scripts, symbols in a sentence.
set(system_fonts ${CMAKE_BINARY_DIR}/system/Fonts)
set(system_font_files)
function(glancery_system_font name package folder)
  string(MAKE_C_IDENTIFIER GLANCERY_FONT_${name} variable)
  find_file(${variable} ${name} REQUIRED
    PATHS
      /usr/share/fonts/truetype/ancient-scripts
      /usr/share/fonts/truetype/droid
      /usr/share/fonts/truetype/inter-vf
      /usr/share/fonts/truetype/noto
      /usr/local/share/fonts
    DOC "A typeface of the phone's (Debian: ${package})")
  add_custom_command(
    OUTPUT ${folder}/${name}
    COMMAND ${CMAKE_COMMAND} -E copy ${${variable}} ${folder}/${name}
    DEPENDS ${${variable}}
    VERBATIM)
  set(system_font_files ${system_font_files} ${folder}/${name} PARENT_SCOPE)
endfunction()

glancery_system_font(Inter-roman.var.ttf fonts-inter-variable ${system_fonts})
glancery_system_font(NotoSansArabicUI-Regular.ttf fonts-noto-ui-core ${system_fonts}/Fallback)
glancery_system_font(NotoSansThaiUI-Regular.ttf fonts-noto-ui-core ${system_fonts}/Fallback)
glancery_system_font(DroidSansFallbackFull.ttf fonts-droid-fallback ${system_fonts}/Fallback)
glancery_system_font(Symbola_hint.ttf fonts-symbola ${system_fonts}/Fallback)
add_custom_target(glancery_system_fonts ALL DEPENDS ${system_font_files})

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
