# What an installation carries besides the programs and the catalogue: the libraries with their
# headers for the suite's other programs (the CMake package "Pastrel" and pkg-config files), the
# manual pages, the sample configurations and documents, the spool's timer, shell completion,
# the licence; and the two Debian packages built from all of it by CPack (`make package`):
#   pastrel-print   (component "programs") what a till runs
#   libpastrel-dev  (component "dev")      what a programmer of the suite builds against
# docs/installing.md describes the result.
include(CMakePackageConfigHelpers)

set(PASTREL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Pastrel)
set(PASTREL_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The .pc files name their prefix relative to their own folder, so that an installation moved
# with `cmake --install --prefix` or unpacked from the package still finds itself.
file(RELATIVE_PATH PASTREL_PC_TO_PREFIX /prefix/${PASTREL_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" PASTREL_PC_TO_PREFIX "${PASTREL_PC_TO_PREFIX}")

# pastrel_install_library(<component> <target> <pkg-config name> <pkg-config requires>
#                         <headers folder or ""> <description> [<libraries without pkg-config>])
# Installs the static library of <target> as Pastrel::<component>, in its own export file so
# that find_package(Pastrel COMPONENTS ...) loads only what is asked for.
function(pastrel_install_library component target pc_name pc_requires headers description)
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${component})
    install(TARGETS ${target} EXPORT Pastrel${component}Targets
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
    # `cmake --install --strip` and the package: the library without its debug information
    # (most of its size), as Debian's own tools strip one.
    install(CODE "if(CMAKE_INSTALL_DO_STRIP)
        execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug --remove-section=.comment
            --remove-section=.note --enable-deterministic-archives
            \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:${target}>\"
            COMMAND_ERROR_IS_FATAL ANY)
    endif()" COMPONENT dev)
    install(EXPORT Pastrel${component}Targets NAMESPACE Pastrel::
            DESTINATION ${PASTREL_CMAKE_DIR} COMPONENT dev)
    if(headers)
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/${headers}/
                DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pastrel COMPONENT dev
                FILES_MATCHING PATTERN "*.h")
    endif()
    set(PC_NAME ${pc_name})
    set(PC_DESCRIPTION "${description}")
    set(PC_REQUIRES "${pc_requires}")
    set(PC_LIBRARY ${target})
    list(JOIN ARGN " " PC_LIBS)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/pastrel.pc.in
                   ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc DESTINATION ${PASTREL_PKGCONFIG_DIR}
            COMPONENT dev)
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
    "The receipt-printer document renderer of pastrel-print" -lqrencode -lzint)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/PastrelConfig.cmake.in
    ${PROJECT_BINARY_DIR}/PastrelConfig.cmake INSTALL_DESTINATION ${PASTREL_CMAKE_DIR})
# 0.x: a new minor version may change the interfaces, so only the same minor version matches.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PastrelConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PastrelConfig.cmake
              ${PROJECT_BINARY_DIR}/PastrelConfigVersion.cmake
        DESTINATION ${PASTREL_CMAKE_DIR} COMPONENT dev)

# Manual pages, compressed as Debian ships them. The preview program's page comes with the
# program.
set(PASTREL_MAN_PAGES pastrel-print.1 pastrel-config.1)
if(TARGET pastrel-preview)
    list(APPEND PASTREL_MAN_PAGES pastrel-preview.1)
endif()
# gzip -9n: the best compression, and no name or time stamp, so that two builds give the same
# bytes.
set(PASTREL_COMPRESSED_DOCS)
foreach(page ${PASTREL_MAN_PAGES})
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/man/${page}.gz
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
        COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/man/${page} > ${PROJECT_BINARY_DIR}/man/${page}.gz
        DEPENDS ${PROJECT_SOURCE_DIR}/man/${page})
    list(APPEND PASTREL_COMPRESSED_DOCS ${PROJECT_BINARY_DIR}/man/${page}.gz)
    install(FILES ${PROJECT_BINARY_DIR}/man/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()

# The package's version is the latest entry of debian/changelog: this version and a Debian
# revision ("0.1.0-1"); a new version gets its entry there first.
file(STRINGS ${PROJECT_SOURCE_DIR}/debian/changelog PASTREL_CHANGELOG_TOP LIMIT_COUNT 1)
if(NOT PASTREL_CHANGELOG_TOP MATCHES "^pastrel-print \\(([^)-]+)-([^)-]+)\\) ")
    message(FATAL_ERROR "debian/changelog: the first line names no version: ${PASTREL_CHANGELOG_TOP}")
endif()
if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR "debian/changelog: the latest entry is for ${CMAKE_MATCH_1}, the project "
                        "is ${PROJECT_VERSION}; add an entry for this version")
endif()
set(PASTREL_DEBIAN_REVISION ${CMAKE_MATCH_2})
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/doc/changelog.Debian.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/doc
    COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/debian/changelog
            > ${PROJECT_BINARY_DIR}/doc/changelog.Debian.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/debian/changelog)
list(APPEND PASTREL_COMPRESSED_DOCS ${PROJECT_BINARY_DIR}/doc/changelog.Debian.gz)
add_custom_target(pastrel_compressed_docs ALL DEPENDS ${PASTREL_COMPRESSED_DOCS})

# Each package's documentation folder: the licence and copyright in Debian's machine-readable
# form, and the changelog; and what lintian is told about the package (debian/lintian/).
foreach(component_package programs=pastrel-print dev=libpastrel-dev)
    string(REPLACE "=" ";" component_package ${component_package})
    list(GET component_package 0 component)
    list(GET component_package 1 package)
    install(FILES ${PROJECT_SOURCE_DIR}/debian/copyright ${PROJECT_BINARY_DIR}/doc/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    install(FILES ${PROJECT_SOURCE_DIR}/debian/lintian/${package}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
endforeach()

# Files that name folders of the installation, written when it is made (the prefix of
# `cmake --install --prefix` or the package's /usr): "@CATALOGUE_DIR@" becomes the catalogue
# folder, "@BINDIR@" the programs' folder. Each entry is "source=folder=name", the folder relative
# to the prefix.
#  - the sample configurations pastrel-config init starts from: the company printer's (the
#    sample home's file) as company.conf, and every examples/conf/*.conf under its own name;
#  - the spool's systemd user timer and service, in lib/systemd/user (not the multiarch
#    folder: systemd looks there under /usr and /usr/local).
set(PASTREL_EXAMPLES_DIR ${CMAKE_INSTALL_DATADIR}/pastrel/examples)
file(GLOB PASTREL_SAMPLE_CONFIGURATIONS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/conf/*.conf)
set(PASTREL_SAMPLES "${PROJECT_SOURCE_DIR}/examples/home/.pastrel/conf/pastrel.conf=company.conf")
foreach(sample ${PASTREL_SAMPLE_CONFIGURATIONS})
    get_filename_component(name ${sample} NAME)
    list(APPEND PASTREL_SAMPLES "${sample}=${name}")
endforeach()
set(PASTREL_FILLED_FILES)
set(CATALOGUE_DIR ${PROJECT_BINARY_DIR}/translations)
foreach(sample ${PASTREL_SAMPLES})
    string(REGEX MATCH "^(.*)=([^=]+)$" match "${sample}")
    list(APPEND PASTREL_FILLED_FILES "${CMAKE_MATCH_1}=${PASTREL_EXAMPLES_DIR}=${CMAKE_MATCH_2}")
    # The same samples in the build tree, where pastrel-config finds them beside the built
    # programs as it finds the installed ones (share/pastrel/examples from the programs' parent
    # folder), naming the catalogue built there.
    configure_file(${CMAKE_MATCH_1} ${PROJECT_BINARY_DIR}/${PASTREL_EXAMPLES_DIR}/${CMAKE_MATCH_2}
                   @ONLY)
endforeach()
foreach(unit pastrel-spool.service pastrel-spool.timer)
    list(APPEND PASTREL_FILLED_FILES "${PROJECT_SOURCE_DIR}/dist/systemd/${unit}=lib/systemd/user=${unit}")
endforeach()
install(CODE "set(PASTREL_FILLED_FILES \"${PASTREL_FILLED_FILES}\")
set(PASTREL_CATALOGUE_SUBDIR \"${CMAKE_INSTALL_DATADIR}/pastrel/translations\")
set(PASTREL_BIN_SUBDIR \"${CMAKE_INSTALL_BINDIR}\")
set(PASTREL_FILL_STAGE \"${PROJECT_BINARY_DIR}/filled\")" COMPONENT programs)
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/PastrelInstallFilled.cmake COMPONENT programs)

# The sample documents, one per method, for a first ticket by hand (docs/setting-up-a-till.md).
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/documents/ DESTINATION ${PASTREL_EXAMPLES_DIR}/documents
        FILES_MATCHING PATTERN "*.xml")
# Completion of pastrel-config's commands, loaded by bash-completion when first needed.
install(FILES ${PROJECT_SOURCE_DIR}/dist/bash-completion/pastrel-config
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The Debian packages: `make package` (or `cpack -G DEB`) in the build folder, one .deb per
# component, named as Debian names them (pastrel-print_0.1.0-1_amd64.deb).
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL programs dev)
set(CPACK_PACKAGE_NAME pastrel-print)
set(CPACK_PACKAGE_VENDOR "Pastrel")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${PASTREL_DEBIAN_REVISION})
# Programs stripped (and the static libraries, by their own install rule above); the debug
# information is left out rather than shipped in a -dbgsym package: a till has no debugger, and a
# developer debugs the build tree.
set(CPACK_STRIP_FILES TRUE)
# The Maintainer field: a distribution or shop that builds its own packages sets its own, with
# `make package MAINTAINER="Name <address>"` or -DPASTREL_MAINTAINER=...
set(PASTREL_MAINTAINER "Pastrel Print maintainers <maintainers@pastrel-print.example.org>"
    CACHE STRING "Maintainer field of the Debian packages: Name <address>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${PASTREL_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME pastrel-print)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION utils)
# Depends computed from the programs by dpkg-shlibdeps (package dpkg-dev).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Debian's synopsis and description rules: a synopsis under 80 characters without the package
# name, description lines under 80 columns.
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION "receipt printing for the Pastrel point-of-sale suite
pastrel-print turns the suite's XML documents (kitchen orders, receipts,
invoices, reports) into printer bytes for the company printer or an
ESC/POS receipt printer, on a file, a device node or a network printer;
jobs a printer could not take wait in a spool that a systemd user timer
sends every minute. pastrel-config starts a till's configuration from a
sample, prints a test page, and shows, sets and checks the settings;
pastrel-preview draws a print job as a picture. With the Italian
catalogue of printed labels and sample configurations.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libpastrel-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
# The libraries' headers include the toolkit's; the CMake package and the .pc files find it. The
# renderer's library links the QR code and barcode encoders (-lqrencode -lzint), which a program
# linking it statically needs too.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qt6-base-dev, libqrencode-dev, libzint-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "libqt6sql6-psql")
set(CPACK_DEBIAN_DEV_DESCRIPTION "libraries of the Pastrel point-of-sale suite (development)
Static libraries and headers the suite's programs build on: the
configuration store, the file logger, the utility class and PostgreSQL
helper, and the receipt-printer document renderer of pastrel-print,
with a CMake package (find_package(Pastrel)) and pkg-config files.")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
