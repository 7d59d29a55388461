# Run at the end of an installation: SHA256SUMS, in the form of sha256sum, over what this installation wrote.
set(sums "")
list(SORT CMAKE_INSTALL_MANIFEST_FILES)
foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
  file(SHA256 "$ENV{DESTDIR}${file}" sum)
  file(RELATIVE_PATH name "${CMAKE_INSTALL_PREFIX}" "${file}")
  string(APPEND sums "${sum}  ${name}\n")
endforeach()
file(WRITE "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/SHA256SUMS" "${sums}")
