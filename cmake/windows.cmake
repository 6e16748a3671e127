# What the Windows builds need beside the sources.

set(TARNTEST_TARN_CALL stdcall CACHE STRING
  "Calling convention of the closed libraries' exports on 32-bit Windows: stdcall or cdecl")
set_property(CACHE TARNTEST_TARN_CALL PROPERTY STRINGS stdcall cdecl)
if(NOT TARNTEST_TARN_CALL MATCHES "^(stdcall|cdecl)$")
  message(FATAL_ERROR "TARNTEST_TARN_CALL is stdcall or cdecl, not ${TARNTEST_TARN_CALL}")
endif()
enable_language(RC)
add_compile_definitions(TARN_CALL=__${TARNTEST_TARN_CALL} _WIN32_WINNT=0x0A00 UNICODE NOMINMAX
                        WIN32_LEAN_AND_MEAN)

# The libraries' exports have no decorated names.
add_link_options(-Wl,--enable-stdcall-fixup)

# Debian has the test framework's sources, not its Windows libraries.
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
