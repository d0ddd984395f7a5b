# Where an installation puts things, decided before any folder of the project installs anything.
#
# Libraries go to the multiarch folder (lib/x86_64-linux-gnu on a PC), as Debian lays them out,
# whatever the prefix: the package is made with the prefix /usr from a build configured with any
# other, and a cross build's pkg-config looks for the .pc files there.
# A build folder configured before this rule, with the plain "lib", is moved over once; a folder
# chosen with -DCMAKE_INSTALL_LIBDIR=... stays.
if(CMAKE_LIBRARY_ARCHITECTURE AND NOT PASTREL_LIBDIR_DECIDED)
    if(NOT CMAKE_INSTALL_LIBDIR OR CMAKE_INSTALL_LIBDIR STREQUAL "lib")
        set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE}
            CACHE PATH "Object code libraries (lib/<multiarch>)" FORCE)
    endif()
    set(PASTREL_LIBDIR_DECIDED ON CACHE INTERNAL "")
endif()
include(GNUInstallDirs)

# Everything a folder installs without naming a component is the shop's: it goes to the
# pastrel-print package. The programmers' files (headers, libraries, CMake package, pkg-config
# files) name the component "dev" (PastrelInstall.cmake).
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME programs)
