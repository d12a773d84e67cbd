function(ravo_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow=local)
    # GCC 12 at -O3 reports "literal" + std::string&& as overlapping memcpy (GCC bug 105329).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
    # In a unity build GCC takes each merged file's anonymous namespace for a header's
    # and warns about linkage that is fine.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_UNITY_BUILD)
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
    if(RAVO_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
