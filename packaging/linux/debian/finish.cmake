# Run by CPack between installing and packing: gives each package its documents, and what is read compressed is
# compressed.
# The trees are named by their whole paths.
unset(ENV{DESTDIR})
set(debian "${CMAKE_CURRENT_LIST_DIR}")

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" key)
  set(package "${CPACK_DEBIAN_${key}_PACKAGE_NAME}")
  set(tree "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share")
  file(INSTALL "${debian}/copyright" DESTINATION "${tree}/doc/${package}")
  file(INSTALL "${debian}/lintian-overrides" DESTINATION "${tree}/lintian/overrides" RENAME "${package}")
  run(python3 -B "${debian}/changelog.py" "${debian}/../../../CHANGELOG.md" "${package}"
      "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}" "${CPACK_PACKAGE_CONTACT}"
      OUTPUT_FILE "${tree}/doc/${package}/changelog.Debian")
  file(GLOB_RECURSE documents "${tree}/man/*" "${tree}/doc/*/changelog*")
  run(gzip -9n ${documents})
  # Whoever packs may have a stricter mask than whoever reads.
  run(find "${CPACK_TEMPORARY_DIRECTORY}/${component}" -type d -exec chmod 755 {} +)
endforeach()
