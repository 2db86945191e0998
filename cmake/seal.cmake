# The last step of a link: writes the digest that the self tests compare the file with. Everything that holds
# the objects of the library is sealed, programs that link the archive of the tests included.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(TALVERN_SEAL ${PROJECT_SOURCE_DIR}/tools/seal.py)

function(talvern_seal target)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${TALVERN_SEAL})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND Python3::Interpreter ${TALVERN_SEAL} $<TARGET_FILE:${target}> VERBATIM)
endfunction()
