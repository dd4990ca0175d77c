# The VST3 SDK as two static libraries with own file lists: vst3sdk (what a plug-in needs) and
# vst3sdk_hosting (what a host needs).

if(NOT EXISTS "${VST3_SDK_DIR}/pluginterfaces/base/funknown.h")
    message(FATAL_ERROR "No VST3 SDK in '${VST3_SDK_DIR}': run scripts/fetch-sdk.sh, "
                        "or set VST3_SDK_DIR")
endif()

set(vst "${VST3_SDK_DIR}/public.sdk/source/vst")

if(WIN32)
    set(platform win32)
else()
    set(platform linux)
endif()

set(sources ${VST3_SDK_DIR}/public.sdk/source/common/threadchecker_${platform}.cpp)
foreach(name IN ITEMS conststringtable coreiids funknown ustring)
    list(APPEND sources "${VST3_SDK_DIR}/pluginterfaces/base/${name}.cpp")
endforeach()
foreach(name IN ITEMS baseiids fbuffer fdebug fobject fstreamer fstring timer updatehandler)
    list(APPEND sources "${VST3_SDK_DIR}/base/source/${name}.cpp")
endforeach()
foreach(name IN ITEMS fcondition flock)
    list(APPEND sources "${VST3_SDK_DIR}/base/thread/source/${name}.cpp")
endforeach()
foreach(name IN ITEMS common/commoniids common/memorystream common/pluginview main/moduleinit
                      main/pluginfactory)
    list(APPEND sources "${VST3_SDK_DIR}/public.sdk/source/${name}.cpp")
endforeach()
foreach(name IN ITEMS vstaudioeffect vstbus vstcomponent vstcomponentbase vsteditcontroller
                      vstinitiids vstparameters vstpresetfile utility/stringconvert)
    list(APPEND sources "${vst}/${name}.cpp")
endforeach()
add_library(vst3sdk STATIC EXCLUDE_FROM_ALL ${sources})
target_include_directories(vst3sdk SYSTEM PUBLIC "${VST3_SDK_DIR}")
target_compile_options(vst3sdk PRIVATE -w)
# The Windows build finds its resources in the module itself, not in a folder beside it.
target_compile_definitions(vst3sdk PUBLIC SMTG_MODULE_IS_BUNDLE=0)
if(WIN32)
    target_link_libraries(vst3sdk PUBLIC ole32 uuid shell32)
endif()

set(sources)
foreach(name IN ITEMS connectionproxy eventlist hostclasses module module_${platform}
                      parameterchanges pluginterfacesupport plugprovider processdata)
    list(APPEND sources "${vst}/hosting/${name}.cpp")
endforeach()
list(APPEND sources "${vst}/moduleinfo/moduleinfoparser.cpp")
add_library(vst3sdk_hosting STATIC EXCLUDE_FROM_ALL ${sources})
target_compile_options(vst3sdk_hosting PRIVATE -w)
target_link_libraries(vst3sdk_hosting PUBLIC vst3sdk ${CMAKE_DL_LIBS})

# The SDK's tool that asks a module for the contents of its moduleinfo.json.
add_executable(
    moduleinfotool EXCLUDE_FROM_ALL
    "${VST3_SDK_DIR}/public.sdk/samples/vst-utilities/moduleinfotool/source/main.cpp"
    "${VST3_SDK_DIR}/public.sdk/source/common/readfile.cpp"
    "${vst}/moduleinfo/moduleinfocreator.cpp")
target_compile_options(moduleinfotool PRIVATE -w)
target_link_libraries(moduleinfotool PRIVATE vst3sdk_hosting)
if(WIN32)
    target_link_options(moduleinfotool PRIVATE -municode)
endif()

# The SDK's conformance test for any VST3 module.
file(GLOB sources "${vst}/testsuite/*/*.cpp")
foreach(name IN ITEMS connectionproxytest eventlisttest hostclassestest parameterchangestest
                      pluginterfacesupporttest processdatatest)
    list(APPEND sources "${vst}/hosting/test/${name}.cpp")
endforeach()
foreach(name IN ITEMS main usediids validator)
    list(APPEND sources
         "${VST3_SDK_DIR}/public.sdk/samples/vst-hosting/validator/source/${name}.cpp")
endforeach()
list(APPEND sources "${vst}/testsuite/testbase.cpp" "${vst}/testsuite/vsttestsuite.cpp"
     "${vst}/utility/testing.cpp")
add_executable(validator EXCLUDE_FROM_ALL ${sources})
target_compile_options(validator PRIVATE -w)
target_link_libraries(validator PRIVATE vst3sdk_hosting)
if(WIN32)
    target_link_options(validator PRIVATE -municode)
endif()

# Some files at a time, which takes a third of the time.
set_target_properties(validator PROPERTIES UNITY_BUILD ON)
