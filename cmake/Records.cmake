# The records' generated code, which is included as "proto/wardline_records.pb.h".
set(WARDLINE_RECORDS ${PROJECT_BINARY_DIR}/proto/wardline_records.pb)
set(schema ${PROJECT_SOURCE_DIR}/proto/wardline_records.proto)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/proto)
# The attribute is spelled out, so that the generated header needs no other header.
add_custom_command(OUTPUT ${WARDLINE_RECORDS}.cc ${WARDLINE_RECORDS}.h
  COMMAND protobuf::protoc
    "--cpp_out=dllexport_decl=__attribute__((visibility(\"default\"))):${PROJECT_BINARY_DIR}"
    -I ${PROJECT_SOURCE_DIR} ${schema}
  DEPENDS ${schema} VERBATIM)
# The map entry classes carry no attribute; the symbol map alone decides about generated code.
# Default instances have destructors that do nothing: none is registered at load.
set_source_files_properties(${WARDLINE_RECORDS}.cc PROPERTIES
  COMPILE_OPTIONS "-fvisibility=default;-fno-visibility-inlines-hidden;-fno-use-cxa-atexit")
# Generated once, for all that compile it.
add_custom_target(wardline_records DEPENDS ${WARDLINE_RECORDS}.cc ${WARDLINE_RECORDS}.h)

# add_records(TARGET): compiles it into a library that exports it.
function(add_records target)
  target_sources(${target} PRIVATE ${WARDLINE_RECORDS}.cc)
  add_dependencies(${target} wardline_records)
  target_include_directories(${target} PUBLIC ${PROJECT_BINARY_DIR})
  target_link_libraries(${target} PUBLIC protobuf::libprotobuf-lite)
endfunction()
