# Script mode: the configure-time rule accepts and refuses the tokens of the
# table as it says, and every refusal names the reason.
include("${PROJECT_SOURCE_DIR}/cmake/VrexGatewayToken.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/TokenCases.cmake")

function(check_case name expected token)
  vrex_gateway_token_problem("${token}" problem)
  if(expected STREQUAL "accepted")
    if(problem)
      set_property(GLOBAL APPEND_STRING PROPERTY token_failures "\n${name}: refused: ${problem}")
    endif()
    return()
  endif()
  string(FIND "${problem}" "${expected}" at)
  if(at EQUAL -1)
    set_property(GLOBAL APPEND_STRING PROPERTY token_failures
                 "\n${name}: expected \"${expected}\", got \"${problem}\"")
  endif()
endfunction()
vrex_gateway_token_cases(check_case)
get_property(failures GLOBAL PROPERTY token_failures)
if(failures)
  message(FATAL_ERROR "Gateway token rule:${failures}")
endif()
