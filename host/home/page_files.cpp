#include "host/home/page_files.h"

#include <algorithm>
#include <array>

// GLANCERY_PAGE is the folder of the files.
#define GLANCERY_EMBED(name, file)                                                             \
  __asm__(".section .rodata\n" #name "_begin:\n.incbin \"" GLANCERY_PAGE "/" file "\"\n" #name \
          "_end:\n.byte 0\n.previous\n");                                                      \
  extern "C" const char name##_begin[];                                                        \
  extern "C" const char name##_end[]

GLANCERY_EMBED(glancery_page_html, "index.html");
GLANCERY_EMBED(glancery_page_css, "home.css");
GLANCERY_EMBED(glancery_page_js, "home.js");
GLANCERY_EMBED(glancery_page_icon, "icon.svg");

namespace host {

const PageFile* pageFile(std::string_view path) {
  static const std::array kFiles = {
      PageFile{"/", "text/html; charset=utf-8", {glancery_page_html_begin, glancery_page_html_end}},
      PageFile{
          "/home.css", "text/css; charset=utf-8", {glancery_page_css_begin, glancery_page_css_end}},
      PageFile{"/home.js",
               "text/javascript; charset=utf-8",
               {glancery_page_js_begin, glancery_page_js_end}},
      PageFile{"/icon.svg", "image/svg+xml", {glancery_page_icon_begin, glancery_page_icon_end}},
  };
  const auto* file = std::ranges::find(kFiles, path, &PageFile::path);
  return file == kFiles.end() ? nullptr : file;
}

}  // namespace host
