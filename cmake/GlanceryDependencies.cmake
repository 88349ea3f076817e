find_package(PkgConfig REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_program(FLATC flatc REQUIRED)
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl)
pkg_check_modules(EXPAT REQUIRED IMPORTED_TARGET expat)
pkg_check_modules(PANGOCAIRO REQUIRED IMPORTED_TARGET pangocairo pangoft2 cairo fontconfig freetype2)
pkg_check_modules(ISAL REQUIRED IMPORTED_TARGET libisal)
pkg_check_modules(SPNG REQUIRED IMPORTED_TARGET spng)
pkg_check_modules(RSVG REQUIRED IMPORTED_TARGET librsvg-2.0)

# Abseil for time zones and strings, linked statically: a shared library in C++ would load the shared standard library,
# which takes a fifth of the extension's start.
add_library(glancery_abseil INTERFACE)
foreach(part time time_zone civil_time hash city low_level_hash int128 strings strings_internal
             raw_logging_internal base throw_delegate spinlock_wait)
  find_library(ABSL_${part}_STATIC libabsl_${part}.a REQUIRED)
  target_link_libraries(glancery_abseil INTERFACE ${ABSL_${part}_STATIC})
endforeach()
target_link_libraries(glancery_abseil INTERFACE Threads::Threads)

# The extension links ICU statically: it starts half a millisecond faster, and the data file is
# mapped, not read. A program with GLANCERY_SHARED_ICU saves the 30 MB of a second copy instead.
add_library(glancery_icu INTERFACE)
find_library(ICU_I18N_STATIC libicui18n.a REQUIRED)
find_library(ICU_UC_STATIC libicuuc.a REQUIRED)
find_library(ICU_DATA_STATIC libicudata.a REQUIRED)
set(shared_icu $<BOOL:$<TARGET_PROPERTY:GLANCERY_SHARED_ICU>>)
target_link_libraries(glancery_icu INTERFACE
  $<${shared_icu}:icui18n> $<${shared_icu}:icuuc>
  $<$<NOT:${shared_icu}>:${ICU_I18N_STATIC}> $<$<NOT:${shared_icu}>:${ICU_UC_STATIC}>
  $<$<NOT:${shared_icu}>:${ICU_DATA_STATIC}>
  ${CMAKE_DL_LIBS} Threads::Threads)

# The C library's base64, linked statically to load no further library.
find_library(RESOLV_STATIC libresolv.a REQUIRED)

# SQLite is linked statically: programs that transfer nothing load nothing for it.
add_library(glancery_sqlite INTERFACE)
find_library(SQLITE_STATIC libsqlite3.a REQUIRED)
target_link_libraries(glancery_sqlite INTERFACE
  ${SQLITE_STATIC} m ${CMAKE_DL_LIBS} Threads::Threads)

if(GLANCERY_TESTS)
  find_package(GTest REQUIRED)
  pkg_check_modules(LIBPLIST REQUIRED IMPORTED_TARGET libplist-2.0)
endif()
if(GLANCERY_BENCH)
  find_package(benchmark REQUIRED)
endif()
