# Fails when a Qt-free part includes a Qt header: the ground library, the wire records, every
# subsystem's core/, the kernel readers, ravo-hook and ravo-server.
file(GLOB_RECURSE core_files
     ${SOURCE_DIR}/base/*.h ${SOURCE_DIR}/base/*.cpp ${SOURCE_DIR}/wire/*.h ${SOURCE_DIR}/wire/*.cpp
     ${SOURCE_DIR}/*/core/*.h ${SOURCE_DIR}/*/core/*.cpp
     ${SOURCE_DIR}/metrics/platform/linux/*.h ${SOURCE_DIR}/metrics/platform/linux/*.cpp
     ${SOURCE_DIR}/connectivity/platform/linux/route_parsers.*
     ${SOURCE_DIR}/connectivity/platform/linux/network_info_reader_linux.cpp
     ${SOURCE_DIR}/hook/*.h ${SOURCE_DIR}/hook/*.cpp ${SOURCE_DIR}/server/*.h ${SOURCE_DIR}/server/*.cpp)
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
