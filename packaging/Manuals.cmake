# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# The manuals of man/ and the completions of the shells in completions/.

function(install_manuals component)
  foreach(manual ${ARGN})
    add_compressed(${PROJECT_SOURCE_DIR}/man/${manual} ${manual})
    string(REGEX MATCH "[0-9]$" section ${manual})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${manual}.gz
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
  endforeach()
endfunction()

# Debian's zsh reads what packages bring in another folder.
set(ZSH_FUNCTIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where completions for zsh are installed")

function(install_completions component program)
  set(completions ${PROJECT_SOURCE_DIR}/completions)
  install(FILES ${completions}/${program}.bash RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
  install(FILES ${completions}/_${program} DESTINATION ${ZSH_FUNCTIONS} COMPONENT ${component})
  install(FILES ${completions}/${program}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT ${component})
endfunction()

install_manuals(converter history-convert.1 history-database.5)
install_completions(converter history-convert)
if(HISTORY_CONVERT_HISTORY_DB)
  install_manuals(history-db history-db.1 history-db-check.1 history-db-copy.1 history-db-dump.1
    history-db-info.1 history-db-load.1 history-db-migrate.1 history-db-plot.1 history-db-sample.1
    history-db-verify.1)
  install_completions(history-db history-db)
endif()
