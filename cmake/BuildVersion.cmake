# Writes OUTPUT, which defines the constants of AgentTool/Commands/BuildVersion.h, when the commit changes.
if(NOT COMMIT)
  set(COMMIT unknown)
  execute_process(COMMAND git -C "${SOURCE}" rev-parse --show-toplevel
    OUTPUT_VARIABLE clone OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(clone STREQUAL SOURCE)  # and not copied into another project's repository
    execute_process(COMMAND git -C "${SOURCE}" rev-parse --short=12 HEAD
      OUTPUT_VARIABLE COMMIT OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
endif()
file(WRITE "${OUTPUT}" "#include \"AgentTool/Commands/BuildVersion.h\"

const std::string_view agent_tool::kFullVersion = \"${VERSION}\";
const std::string_view agent_tool::kCommit = \"${COMMIT}\";
")
