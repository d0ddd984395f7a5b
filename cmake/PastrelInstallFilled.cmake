# Runs at install time (cmake --install, make install, CPack): installs each file of
# PASTREL_FILLED_FILES ("source=folder=name", folder relative to the prefix) with the folders of
# this installation filled in: "@CATALOGUE_DIR@" the catalogue folder, "@BINDIR@" the programs'.
# A stage of this run's own: two installations into different prefixes may run at once.
string(RANDOM LENGTH 16 _pastrel_run)
set(_pastrel_stage "${PASTREL_FILL_STAGE}/${_pastrel_run}")
foreach(_pastrel_entry IN LISTS PASTREL_FILLED_FILES)
    string(REGEX MATCH "^(.*)=([^=]+)=([^=]+)$" _pastrel_match "${_pastrel_entry}")
    file(READ "${CMAKE_MATCH_1}" _pastrel_text)
    string(REPLACE "@CATALOGUE_DIR@" "${CMAKE_INSTALL_PREFIX}/${PASTREL_CATALOGUE_SUBDIR}"
           _pastrel_text "${_pastrel_text}")
    string(REPLACE "@BINDIR@" "${CMAKE_INSTALL_PREFIX}/${PASTREL_BIN_SUBDIR}" _pastrel_text
           "${_pastrel_text}")
    file(WRITE "${_pastrel_stage}/${CMAKE_MATCH_3}" "${_pastrel_text}")
    file(INSTALL "${_pastrel_stage}/${CMAKE_MATCH_3}"
         DESTINATION "${CMAKE_INSTALL_PREFIX}/${CMAKE_MATCH_2}")
endforeach()
file(REMOVE_RECURSE "${_pastrel_stage}")
