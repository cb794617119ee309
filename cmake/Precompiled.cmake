# Precompiled headers, each built once: `pch` for the code without windows, `wxpch` for the
# code with them, and one more of each kind for the tests. They stand in targets of their own, because GCC
# refuses a precompiled header that was built with a macro its user has not got.

function(vorlan_precompiled name header)
  add_library(${name} OBJECT ${PROJECT_SOURCE_DIR}/cmake/pch.cpp)
  target_link_libraries(${name} PRIVATE vorlan_flags Threads::Threads Boost::headers ${ARGN})
  # Named without its path: the same text in each checkout, so that the cache serves them all.
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake)
  target_precompile_headers(${name} PRIVATE <${header}>)
endfunction()

vorlan_precompiled(pch pch.h)
if(VORLAN_GUI)
  vorlan_precompiled(wxpch wxpch.h wx)
endif()
if(VORLAN_TESTS)
  set(test_libraries GTest::gmock GTest::gtest nlohmann_json::nlohmann_json)
  vorlan_precompiled(testpch testpch.h ${test_libraries})
  if(VORLAN_GUI)
    vorlan_precompiled(testwxpch testwxpch.h wx ${test_libraries})
  endif()
endif()
