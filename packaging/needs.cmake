# What the files of each package need, as dpkg-shlibdeps knows it of this machine's libraries.

cmake_policy(VERSION 3.25)

# k4_needs(VARIABLE ARCHITECTURE FILES...)
function(k4_needs variable architecture)
  set(work ${CPACK_OUTPUT_FILE_PREFIX}/needs)
  file(WRITE ${work}/debian/control "Source: k4selftest\n\nPackage: k4selftest\nArchitecture: any\n")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env DEB_HOST_ARCH=${architecture}
                  dpkg-shlibdeps --warnings=0 -O ${ARGN}
                  WORKING_DIRECTORY ${work} OUTPUT_VARIABLE needs OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "shlibs:Depends=" "" needs "${needs}")
  set(${variable} "${needs}" PARENT_SCOPE)
endfunction()

set(build ${CPACK_OUTPUT_FILE_PREFIX}/..)
if("selftest" IN_LIST CPACK_COMPONENTS_ALL)
  k4_needs(CPACK_DEBIAN_SELFTEST_PACKAGE_DEPENDS i386 ${build}/static/k4selftest)
endif()
if("desk32" IN_LIST CPACK_COMPONENTS_ALL)
  k4_needs(CPACK_DEBIAN_DESK32_PACKAGE_DEPENDS i386 ${build}/k4sim ${build}/libk4sim.so)
  set(CPACK_DEBIAN_DESK32_PACKAGE_RECOMMENDS k4selftest)
endif()
if("desk64" IN_LIST CPACK_COMPONENTS_ALL)
  k4_needs(CPACK_DEBIAN_DESK64_PACKAGE_DEPENDS amd64 ${build}/desk64/k4sim ${build}/libk4sim64.so)
  # Only programs of 32 bits want these.
  k4_needs(needs32 i386 ${build}/libk4sim.so)
  string(REGEX REPLACE "([a-z0-9.+-]+) \\(" "\\1:i386 (" needs32 "${needs32}")
  set(CPACK_DEBIAN_DESK64_PACKAGE_RECOMMENDS "k4selftest:i386, ${needs32}")
endif()
