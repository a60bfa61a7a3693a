# Runs the MPI host on 1, 2 and 3 ranks and checks that every run reports the
# same step, controlling element and failure count, and that the controlling
# element lies in the narrowest column of cells (x = 2/3 of the length).
# Invoked as: cmake -DMPIEXEC=... -DPROGRAM=... -P check_ranks.cmake
set(ENV{OMPI_ALLOW_RUN_AS_ROOT} 1)
set(ENV{OMPI_ALLOW_RUN_AS_ROOT_CONFIRM} 1)
set(reference "")
foreach(ranks 1 2 3)
  execute_process(
    COMMAND ${MPIEXEC} ${MPIEXEC_PREFLAGS} -n ${ranks} ${PROGRAM} 96 24 12
    OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${ranks} ranks: exit ${rc}\n${out}\n${err}")
  endif()
  if(NOT out MATCHES "ranks ${ranks}\n")
    message(FATAL_ERROR "${ranks} ranks: the program saw another size\n${out}")
  endif()
  string(REGEX REPLACE "^ranks [0-9]+\n" "" answer "${out}")
  if(NOT answer MATCHES "elements 27648\nstable increment [0-9.e+-]+ s \\(element 6[45]\\)\nfailed elements 0, call code 0\n")
    message(FATAL_ERROR "${ranks} ranks: unexpected report\n${out}")
  endif()
  if(reference STREQUAL "")
    set(reference "${answer}")
  elseif(NOT answer STREQUAL reference)
    message(FATAL_ERROR "${ranks} ranks disagree with one rank:\n${answer}\nvs\n${reference}")
  endif()
endforeach()
message(STATUS "1, 2 and 3 ranks agree:\n${reference}")
