# The engines for which a distribution may have no package: from it where it does, else as scripts/engine has built them.

# talkledger_engine(NAME LIBRARIES library...) offers the target Engine::NAME, unless the option TALKLEDGER_<NAME> is
# off or the engine is not there: then the program is built without it, and says so where it would be used.
function(talkledger_engine name)
  cmake_parse_arguments(PARSE_ARGV 1 engine "" "" "LIBRARIES")
  string(TOUPPER TALKLEDGER_${name} option)
  option(${option} "Build with the engine ${name}" ON)
  if(NOT ${option})
    return()
  endif()
  find_package(${name} CONFIG QUIET)
  if(${name}_FOUND)
    add_library(Engine::${name} INTERFACE IMPORTED GLOBAL)
    target_link_libraries(Engine::${name} INTERFACE ${name})
    return()
  endif()
  execute_process(COMMAND ${CMAKE_SOURCE_DIR}/scripts/engine folder ${name}
                  OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS ${folder})
    message(WARNING "The engine ${name} is not there: run 'scripts/engine build ${name}', then configure again.")
    return()
  endif()
  set(${option}_FOLDER ${folder} CACHE INTERNAL "The engine ${name} as scripts/engine has built it")
  add_library(Engine::${name} INTERFACE IMPORTED GLOBAL)
  target_include_directories(Engine::${name} SYSTEM INTERFACE ${folder}/include)
  list(TRANSFORM engine_LIBRARIES REPLACE "(.+)" "${folder}/lib/lib\\1.a")
  target_link_libraries(Engine::${name} INTERFACE ${engine_LIBRARIES} Threads::Threads ${CMAKE_DL_LIBS} m)
endfunction()

talkledger_engine(whisper LIBRARIES whisper ggml ggml-cpu ggml-base)
talkledger_engine(llama LIBRARIES llama ggml ggml-cpu ggml-base)
