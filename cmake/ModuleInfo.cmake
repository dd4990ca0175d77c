# Run by the build: writes a bundle's moduleinfo.json, as strict JSON.
# In: TOOL (the SDK's moduleinfotool), EMULATOR (what runs it, or empty), BUNDLE, VERSION.

set(json "${BUNDLE}/Contents/Resources/moduleinfo.json")
file(MAKE_DIRECTORY "${BUNDLE}/Contents/Resources")
file(REMOVE "${json}")
execute_process(
    COMMAND ${EMULATOR} "${TOOL}" -create -version "${VERSION}" -path "${BUNDLE}" -output "${json}"
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
if(NOT result EQUAL 0 OR NOT EXISTS "${json}")
    message(FATAL_ERROR "moduleinfotool failed (${result}): ${output}")
endif()

# The tool leaves commas before closing brackets, which some hosts' parsers reject.
file(READ "${json}" text)
string(REGEX REPLACE ",([ \t\r\n]*[]}])" "\\1" text "${text}")
string(JSON classes ERROR_VARIABLE error LENGTH "${text}" Classes)
if(error)
    file(REMOVE "${json}")
    message(FATAL_ERROR "moduleinfo.json is no valid JSON: ${error}")
endif()
file(WRITE "${json}" "${text}")
