# Installs the build into a fresh prefix, checks what the package holds, then configures and
# builds examples/qml-host out of tree against that prefix alone.
#   cmake -DBUILD_DIR=… -DSOURCE_DIR=… -DWORK_DIR=… -DGENERATOR=… -P InstallAndBuildHost.cmake
foreach(_var IN ITEMS BUILD_DIR SOURCE_DIR WORK_DIR GENERATOR)
  if(NOT DEFINED ${_var})
    message(FATAL_ERROR "${_var} is not set")
  endif()
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _out)
  if(NOT _rc EQUAL 0)
    message(FATAL_ERROR "failed (${_rc}): ${ARGN}\n${_out}")
  endif()
endfunction()

set(_prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${_prefix})

file(GLOB _libdirs LIST_DIRECTORIES true ${_prefix}/lib ${_prefix}/lib64 ${_prefix}/lib/*-linux-gnu)
set(_missing)
foreach(_expected IN ITEMS
    include/OstFoundation/OTCommonsViewController.h
    include/OstFoundation/OstAPIClient.h
    include/OstQuote/OstQuoteViewController.h
    include/OstQuote/OstQuoteLaunchViewController.h
    include/OstQuote/OstQuoteGlobal.h)
  if(NOT EXISTS ${_prefix}/${_expected})
    list(APPEND _missing ${_expected})
  endif()
endforeach()
set(_found_package FALSE)
foreach(_libdir IN LISTS _libdirs)
  if(EXISTS ${_libdir}/cmake/OstQuote/OstQuoteConfig.cmake)
    set(_found_package TRUE)
    foreach(_expected IN ITEMS
        libOstQuote.so libOstFoundation.so
        cmake/OstQuote/OstQuoteConfigVersion.cmake cmake/OstQuote/OstQuoteTargets.cmake
        qml/OstQuote/qmldir qml/OstQuote/OstQuote.qmltypes qml/OstQuote/libOstQuoteplugin.so
        qml/OstFoundation/qmldir qml/OstFoundation/OstFoundation.qmltypes
        qml/OstFoundation/libOstFoundationplugin.so)
      if(NOT EXISTS ${_libdir}/${_expected})
        list(APPEND _missing ${_expected})
      endif()
    endforeach()
  endif()
endforeach()
if(NOT _found_package)
  list(APPEND _missing OstQuoteConfig.cmake)
endif()
file(GLOB _private RELATIVE ${_prefix}/include ${_prefix}/include/*/*_p.h)
if(_missing OR _private)
  message(FATAL_ERROR "install: missing ${_missing}; private headers installed: ${_private}")
endif()

# Nothing of the build tree or the sources: the prefix and Qt only.
# A sanitizer build's libraries want the host built with the same sanitizers (HOST_FLAGS).
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/qml-host -B ${WORK_DIR}/host -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_PREFIX_PATH=${_prefix}
    "-DCMAKE_CXX_FLAGS=${HOST_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${HOST_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host)
if(NOT EXISTS ${WORK_DIR}/host/ostquote-qml-host)
  message(FATAL_ERROR "the host app was not built")
endif()
message(STATUS "installed into ${_prefix}; host built in ${WORK_DIR}/host")
