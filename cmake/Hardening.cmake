# How a package is built: what Debian asks of its own (dpkg-buildflags, hardening=+all), stack clash protection, and no path of
# the building machine in any file.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection -Wformat -Werror=format-security)
add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>) # the library checks sizes only where it is optimised
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,--as-needed)

# The later one counts, and the folder of the build usually lies within that of the sources.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
