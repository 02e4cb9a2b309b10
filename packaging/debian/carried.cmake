# Run by cpack, on the libraries that the package carries.
set(folder ${CPACK_TEMPORARY_DIRECTORY}/usr/lib/fenlo)
file(GLOB names RELATIVE ${folder} ${folder}/lib*.so.*)
list(FILTER names INCLUDE REGEX "\\.so\\.[0-9]+$")

# One file each, and no link to it: cpack would count it twice.
foreach(name IN LISTS names)
    file(REAL_PATH ${folder}/${name} file)
    file(RENAME ${file} ${folder}/${name})
endforeach()

# dpkg-shlibdeps is told that they ask for no package.
list(TRANSFORM names REPLACE "\\.so\\.(.*)" " \\1\n")
list(JOIN names "" lines)
file(WRITE ${CPACK_TEMPORARY_DIRECTORY}/debian/shlibs.local "${lines}")
