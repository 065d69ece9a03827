# find_package(VlanAgent) gives the target VlanAgent::VlanAgent: headers, import library, and the classes that cross the
# module's border. A client is built with the compiler and the C runtime that the module was built with.
get_filename_component(vlan_agent_root "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

add_library(VlanAgent::VlanAgent SHARED IMPORTED)
set_target_properties(VlanAgent::VlanAgent PROPERTIES
    IMPORTED_LOCATION "${vlan_agent_root}/bin/VlanAgent.dll"
    INTERFACE_INCLUDE_DIRECTORIES "${vlan_agent_root}/include"
    INTERFACE_COMPILE_DEFINITIONS "RAV_VLAN_AGENT_IMPORTS;_WIN32_WINNT=0x0A00;NOMINMAX"
    INTERFACE_COMPILE_FEATURES cxx_std_20
)
if(MSVC)
    set_target_properties(VlanAgent::VlanAgent PROPERTIES
        IMPORTED_IMPLIB "${vlan_agent_root}/lib/VlanAgent.lib"
        INTERFACE_LINK_LIBRARIES
            "${vlan_agent_root}/lib/RavSettings.lib;${vlan_agent_root}/lib/RavCommon.lib;advapi32")
else()
    set_target_properties(VlanAgent::VlanAgent PROPERTIES
        IMPORTED_IMPLIB "${vlan_agent_root}/lib/libVlanAgent.dll.a"
        INTERFACE_LINK_LIBRARIES
            "${vlan_agent_root}/lib/libRavSettings.a;${vlan_agent_root}/lib/libRavCommon.a;advapi32")
endif()
unset(vlan_agent_root)
