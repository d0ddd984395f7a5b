# What an installation carries besides the two programs and the catalogue: the libraries with
# their headers for the suite's other programs (the CMake package "Pastrel" and pkg-config
# files), the manual pages and the sample configurations; and the Debian package built from
# all of it by CPack (`make package`). docs/installing.md describes the result.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(PASTREL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Pastrel)
set(PASTREL_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The .pc files name their prefix relative to their own folder, so that an installation moved
# with `cmake --install --prefix` or unpacked from the package still finds itself.
file(RELATIVE_PATH PASTREL_PC_TO_PREFIX /prefix/${PASTREL_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" PASTREL_PC_TO_PREFIX "${PASTREL_PC_TO_PREFIX}")

# pastrel_install_library(<component> <target> <pkg-config name> <pkg-config requires>
#                         <headers folder or ""> <description>)
# Installs the static library of <target> as Pastrel::<component>, in its own export file so
# that find_package(Pastrel COMPONENTS ...) loads only what is asked for.
function(pastrel_install_library component target pc_name pc_requires headers description)
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${component})
    install(TARGETS ${target} EXPORT Pastrel${component}Targets
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(EXPORT Pastrel${component}Targets NAMESPACE Pastrel::
            DESTINATION ${PASTREL_CMAKE_DIR})
    if(headers)
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/${headers}/
                DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pastrel FILES_MATCHING PATTERN "*.h")
    endif()
    set(PC_NAME ${pc_name})
    set(PC_DESCRIPTION "${description}")
    set(PC_REQUIRES "${pc_requires}")
    set(PC_LIBRARY ${target})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/pastrel.pc.in
                   ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc DESTINATION ${PASTREL_PKGCONFIG_DIR})
endfunction()

pastrel_install_library(Config pastrel_config pastrel-conf "Qt6Core Qt6Xml" config
    "The suite's configuration store and the user's pastrel.conf singleton")
pastrel_install_library(ConfigView pastrel_configview pastrel-confview "pastrel-conf Qt6Widgets" ""
    "Tree views and exports of the suite's configuration")
pastrel_install_library(Log pastrel_log pastrel-log "pastrel-conf Qt6Core" log
    "The suite's file logger")
pastrel_install_library(Lib pastrel_lib pastrel-lib "pastrel-log pastrel-conf Qt6Sql Qt6Widgets" lib
    "The suite's utility class and PostgreSQL helper")
pastrel_install_library(Fiscal pastrel_fiscal pastrel-fiscal "Qt6Core" fiscal
    "Fiscal printers (RT): exact amounts, receipts, both XML dialects, the journal")
pastrel_install_library(Driver pastrel_driver pastrel-driver "pastrel-conf pastrel-fiscal Qt6Core" driver
    "The receipt-printer document renderer of pastrel-print")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/PastrelConfig.cmake.in
    ${PROJECT_BINARY_DIR}/PastrelConfig.cmake INSTALL_DESTINATION ${PASTREL_CMAKE_DIR})
# 0.x: a new minor version may change the interfaces, so only the same minor version matches.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PastrelConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PastrelConfig.cmake
              ${PROJECT_BINARY_DIR}/PastrelConfigVersion.cmake
        DESTINATION ${PASTREL_CMAKE_DIR})

# Manual pages. The preview program's page is installed together with the program.
set(PASTREL_MAN_PAGES ${PROJECT_SOURCE_DIR}/man/pastrel-print.1 ${PROJECT_SOURCE_DIR}/man/pastrel-config.1)
if(TARGET pastrel-preview)
    list(APPEND PASTREL_MAN_PAGES ${PROJECT_SOURCE_DIR}/man/pastrel-preview.1)
endif()
install(FILES ${PASTREL_MAN_PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# Sample configurations: the company printer's (the sample home's file) as company.conf, and
# every examples/conf/*.conf under its own name, into share/pastrel/examples. Their
# "@CATALOGUE_DIR@" becomes the catalogue folder of the installation, decided at install time
# (the prefix of `cmake --install --prefix` or the package's /usr).
file(GLOB PASTREL_SAMPLE_CONFIGURATIONS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/conf/*.conf)
set(PASTREL_SAMPLES "${PROJECT_SOURCE_DIR}/examples/home/.pastrel/conf/pastrel.conf=company.conf")
foreach(sample ${PASTREL_SAMPLE_CONFIGURATIONS})
    get_filename_component(name ${sample} NAME)
    list(APPEND PASTREL_SAMPLES "${sample}=${name}")
endforeach()
install(CODE "set(PASTREL_SAMPLES \"${PASTREL_SAMPLES}\")
set(PASTREL_SAMPLE_DATADIR \"${CMAKE_INSTALL_DATADIR}\")
set(PASTREL_SAMPLE_STAGE \"${PROJECT_BINARY_DIR}/samples\")")
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/PastrelInstallSamples.cmake)

# The Debian package: `make package` (or `cpack -G DEB`) in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pastrel-print)
set(CPACK_PACKAGE_VENDOR "Pastrel")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "receipt-printer document compiler and shared libraries of the Pastrel point-of-sale suite")
set(CPACK_PACKAGE_DESCRIPTION
    "pastrel-print turns the suite's XML documents (kitchen orders, receipts, invoices, \
reports) into printer bytes; pastrel-config shows, sets and checks the till's configuration. \
The package also carries the suite's configuration, logging, utility and database libraries \
with their headers, CMake package and pkg-config files, the Italian catalogue and sample \
configurations.")
set(PASTREL_PACKAGE_MAINTAINER "Pastrel maintainers <pastrel@localhost>"
    CACHE STRING "Maintainer field of the Debian package")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${PASTREL_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# Depends computed from the programs by dpkg-shlibdeps (package dpkg-dev).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What a program built on the libraries needs: the toolkit's headers and the database driver.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt6-base-dev, libqt6sql6-psql")
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip) # fast to build; the package is small
include(CPack)
