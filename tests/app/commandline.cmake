# Runs the window program with --version and --help and no display: both print
# and succeed without opening a window; an unknown option fails.
set(ENV{DISPLAY} "")
set(ENV{WAYLAND_DISPLAY} "")
set(ENV{QT_QPA_PLATFORM} "")

function(run expected_status)
  execute_process(COMMAND ${PROGRAM} ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out
                  ERROR_VARIABLE err TIMEOUT 20)
  if(NOT status STREQUAL expected_status)
    message(FATAL_ERROR "rowquill ${ARGN}: status ${status}, wanted ${expected_status}\n${out}${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
  set(err "${err}" PARENT_SCOPE)
endfunction()

run(0 --version)
if(NOT out STREQUAL "Nubro Rowquill ${VERSION}\n")
  message(FATAL_ERROR "--version printed '${out}'")
endif()

foreach(option --help -h)
  run(0 ${option})
  foreach(word "Usage:" "[DATABASE]" "[LAYOUT]" "--version" "--screenshots <FOLDER>")
    string(FIND "${out}" "${word}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "${option} does not mention ${word}:\n${out}")
    endif()
  endforeach()
endforeach()

run(0 some.csv --version)

# Without a display the window cannot start; with an unknown option it must not
# try to: the error names the option.
run(1 --no-such-option -platform offscreen)
string(FIND "${err}" "no-such-option" at)
if(at EQUAL -1)
  message(FATAL_ERROR "the error does not name the option: ${err}")
endif()
