# What a release holds: cmake --install build/release --prefix FOLDER --strip
include(CMakePackageConfigHelpers)

# The headers that a client needs, at the paths by which they include each other.
set(RAV_PUBLIC_HEADERS
    Common/Intf/RavClientTypes.h
    Common/Intf/RavCoreAgentPvtIntf.h
    Common/Intf/RavParameter.h
    Common/Intf/RavTeamAgentPvtIntf.h
    Common/Src/HandleOwner.h
    Common/Src/ModuleHandle.h
    Common/Src/RavFormat.h
    Common/Src/RavNetAgentPvt.h
    Common/Src/RavResult.h
    Common/Src/RavString.h
    Common/Settings/RavSetting.h
    Src/RavVlanAgentIntf.h
    Src/RavVlanAgentPvtIntf.h
    Src/RavVlanMessages.h
    Src/RavVlanTypes.h
    Src/VlanAgentExports.h
)
foreach(header ${RAV_PUBLIC_HEADERS})
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION include/${folder})
endforeach()

install(TARGETS VlanAgent RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
# Strings, results and setting records are classes of the client's own as much as of the module.
install(TARGETS RavCommon RavSettings ARCHIVE DESTINATION lib)

write_basic_package_version_file("${CMAKE_BINARY_DIR}/VlanAgentConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES cmake/VlanAgentConfig.cmake "${CMAKE_BINARY_DIR}/VlanAgentConfigVersion.cmake"
        DESTINATION lib/cmake/VlanAgent)

install(FILES docs/release.md RENAME README.md DESTINATION .)
install(FILES CHANGELOG.md DESTINATION .)
install(FILES docs/registry.md docs/trace-log.md DESTINATION docs)
if(RAV_BUILD_TOOLS)
    install(TARGETS vlanctl RUNTIME DESTINATION bin)
    install(FILES docs/vlanctl.md docs/doctor.md docs/apply.md docs/vlan-configuration.schema.json docs/powershell.md docs/fleet.md
            DESTINATION docs)
    install(FILES Tools/dsc/VlanAgent.dsc.resource.json DESTINATION bin)
    install(DIRECTORY Tools/powershell/VlanAgent DESTINATION powershell)
endif()
