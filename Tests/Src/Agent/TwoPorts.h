#pragma once
// A host with VLANs that were there before the agent.

// Its VLANs have the instance numbers 0003, 0004 and 0005.
inline const char* const VLAN_HOST = R"({
    "adapters": [ { "name": "Port A", "mac": "001B21000001" }, { "name": "Port B", "mac": "001B21000002" } ],
    "vlans": [ { "parent": "Port A", "id": 10, "name": "Ten" }, { "parent": "Port A", "id": 0, "name": "Zero" },
               { "parent": "Port B", "id": 20, "name": "Twenty" } ]
})";
