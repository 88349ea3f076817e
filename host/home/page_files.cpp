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
GLANCERY_EMBED(glancery_page_home, "home.js");
GLANCERY_EMBED(glancery_page_panels, "panels.js");
GLANCERY_EMBED(glancery_page_phone, "phone.js");
GLANCERY_EMBED(glancery_page_report, "report.js");
GLANCERY_EMBED(glancery_page_tools, "tools.js");
GLANCERY_EMBED(glancery_page_icon, "icon.svg");

namespace host {

const PageFile* pageFile(std::string_view path) {
  constexpr const char* kHTML = "text/html; charset=utf-8";
  constexpr const char* kCSS = "text/css; charset=utf-8";
  constexpr const char* kScript = "text/javascript; charset=utf-8";
  // clang-format off
  static const std::array kFiles = {
      PageFile{"/",          kHTML,           {glancery_page_html_begin,   glancery_page_html_end}},
      PageFile{"/home.css",  kCSS,            {glancery_page_css_begin,    glancery_page_css_end}},
      PageFile{"/home.js",   kScript,         {glancery_page_home_begin,   glancery_page_home_end}},
      PageFile{"/panels.js", kScript,         {glancery_page_panels_begin, glancery_page_panels_end}},
      PageFile{"/phone.js",  kScript,         {glancery_page_phone_begin,  glancery_page_phone_end}},
      PageFile{"/report.js", kScript,         {glancery_page_report_begin, glancery_page_report_end}},
      PageFile{"/tools.js",  kScript,         {glancery_page_tools_begin,  glancery_page_tools_end}},
      PageFile{"/icon.svg",  "image/svg+xml", {glancery_page_icon_begin,   glancery_page_icon_end}},
  };
  // clang-format on
  const auto* file = std::ranges::find(kFiles, path, &PageFile::path);
  return file == kFiles.end() ? nullptr : file;
}

}  // namespace host
