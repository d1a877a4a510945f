# small_and_quick_to_load(TARGET): a shared library that exports what libwardline.map.txt names, without
# code that nothing uses, and with as little work for the loader as its linker can arrange.
include(CheckLinkerFlag)
# A linker that does not know the option warns and goes on.
check_linker_flag(CXX -Wl,--fatal-warnings,-z,pack-relative-relocs
  LINKER_PACKS_RELATIVE_RELOCATIONS)

function(small_and_quick_to_load target)
  set(map ${PROJECT_SOURCE_DIR}/libwardline.map.txt)
  set_target_properties(${target} PROPERTIES
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS ${map})
  target_compile_options(${target} PRIVATE -Os -ffunction-sections -fdata-sections)
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${map} -Wl,--gc-sections -Wl,-z,relro -Wl,-z,now
    # The fuzzer's program brings the sanitizers' functions.
    $<$<NOT:$<BOOL:${WARDLINE_FUZZER}>>:-Wl,--no-undefined>
    # Calls of the library's own functions are bound when it is linked.
    -Wl,-Bsymbolic-functions
    $<$<BOOL:${LINKER_PACKS_RELATIVE_RELOCATIONS}>:-Wl,-z,pack-relative-relocs>)
endfunction()
