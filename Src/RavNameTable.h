#pragma once

// Numbers of the module's string table: the registry names and paths of the VLAN format. Also read by the resource
// compiler.
#define RAV_NAME_SUPPORTED_FEATURES 1
#define RAV_NAME_VLAN_ID 2
#define RAV_NAME_VLAN_DISPLAY_NAME 3
#define RAV_NAME_VLAN_NAME 4
#define RAV_NAME_MINIPORT_LINK 5
#define RAV_NAME_LOGICAL_GROUP_ID 6
#define RAV_NAME_XMS_MINIPORT_KEY 7
#define RAV_NAME_VLAN_PARENT_KEY 8
#define RAV_NAME_NETCFG_INSTANCE_ID 9
#define RAV_NAME_BINDING_LIST 10
#define RAV_NAME_VLAN_TYPE 11
#define RAV_NAME_DRIVER_DESC 12
#define RAV_NAME_MEDIA_TYPE 13
#define RAV_NAME_NETWORK_ADDRESS 14
#define RAV_NAME_DRIVER_ADAPTERS_KEY 15
#define RAV_NAME_TCPIP_INTERFACES_KEY 16
#define RAV_NAME_ENABLE_DHCP 17
#define RAV_NAME_DRIVER_CONFIGURATION_KEY 18
#define RAV_NAME_TOTAL_PHYSICAL_ADAPTERS 19
#define RAV_NAME_TAGGING_MODE 20
#define RAV_NAME_PHYSICAL_ADAPTER_ID 21
#define RAV_NAME_ADAPTER_NAME 22
#define RAV_NAME_DEVICE 23
#define RAV_NAME_VLAN 24
#define RAV_NAME_BINDING_LIST_COUNT 25
#define RAV_NAME_XMS_LOADED 26
#define RAV_NAME_VLAN_FILTERING 27
#define RAV_NAME_VLAN_MODE 28
#define RAV_NAME_DRIVER_ADAPTERS_KEY_TOO 29
#define RAV_NAME_DRIVER_FILE 30
#define RAV_NAME_SERVICE_KEY 31
#define RAV_NAME_IMAGE_PATH 32
#define RAV_NAME_NETWORK_CLASS_KEY 33
#define RAV_NAME_CHARACTERISTICS 34
#define RAV_NAME_XMS_SERVICE 35
#define RAV_NAME_TEAM_MODE 36

#ifndef RC_INVOKED
#include "Common/Src/RavString.h"

// The text of a number, from the file of the module that this code is part of; empty when the module lacks its table.
inline CRavString RavName(unsigned int number)
{
    CRavString name;
    name.LoadCommonResString(number);
    return name;
}
#endif
