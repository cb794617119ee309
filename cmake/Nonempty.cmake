# A library whose folder has no source yet still configures.
function(vorlan_nonempty variable)
  if(NOT ${variable})
    file(TOUCH ${CMAKE_CURRENT_BINARY_DIR}/empty.cpp)
    set(${variable} ${CMAKE_CURRENT_BINARY_DIR}/empty.cpp PARENT_SCOPE)
  endif()
endfunction()
