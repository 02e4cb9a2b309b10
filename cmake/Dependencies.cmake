find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(CURL REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(simdjson REQUIRED)
find_package(CLI11 REQUIRED)
find_package(ZLIB REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(Qt6 REQUIRED COMPONENTS Core Gui Widgets DBus)

pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(HIGHWAY REQUIRED IMPORTED_TARGET libhwy)
pkg_check_modules(KISSFFT REQUIRED IMPORTED_TARGET kissfft-float)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(PULSE REQUIRED IMPORTED_TARGET libpulse)
pkg_check_modules(X11 REQUIRED IMPORTED_TARGET x11 xi xtst)
pkg_check_modules(ATSPI REQUIRED IMPORTED_TARGET atspi-2)
pkg_check_modules(SECRET REQUIRED IMPORTED_TARGET libsecret-1)

# oneDNN by hand: its own package file asks for the headers of OpenCL, which nothing here uses.
find_path(DNNL_INCLUDE_DIR dnnl.hpp REQUIRED)
find_library(DNNL_LIBRARY dnnl REQUIRED)
add_library(DNNL::dnnl UNKNOWN IMPORTED)
set_target_properties(DNNL::dnnl PROPERTIES
    IMPORTED_LOCATION ${DNNL_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${DNNL_INCLUDE_DIR})

if(FENLO_TESTS)
    find_package(GTest REQUIRED)
    find_package(benchmark REQUIRED)
endif()
