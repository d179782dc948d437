# Runs a command that has to succeed; what it printed is in `output`.
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        list(JOIN ARGV " " command)
        message(FATAL_ERROR "${command}\ngave ${result}:\n${output}${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()
