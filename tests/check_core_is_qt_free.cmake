# Fails when a file of the Qt-free core includes a Qt header.
file(GLOB_RECURSE core_files
     ${SOURCE_DIR}/core/*.h ${SOURCE_DIR}/core/*.cpp
     ${SOURCE_DIR}/*/core/*.h ${SOURCE_DIR}/*/core/*.cpp
     ${SOURCE_DIR}/metrics/platform/linux/*.h ${SOURCE_DIR}/metrics/platform/linux/*.cpp
     ${SOURCE_DIR}/hook/*.h ${SOURCE_DIR}/hook/*.cpp)
set(offenders "")
foreach(file IN LISTS core_files)
    file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"](Q[A-Za-z]+|qcoro)")
    if(lines)
        list(APPEND offenders "${file}: ${lines}")
    endif()
endforeach()
list(LENGTH core_files count)
if(count EQUAL 0)
    message(FATAL_ERROR "No core files found under ${SOURCE_DIR}")
endif()
if(offenders)
    string(REPLACE ";" "\n" text "${offenders}")
    message(FATAL_ERROR "Qt headers in the core:\n${text}")
endif()
message(STATUS "${count} core files, none includes Qt")
