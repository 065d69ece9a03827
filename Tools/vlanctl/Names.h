#pragma once

#include "Tools/vlanctl/Inventory.h"

#include <string>

// Find a parent or a VLAN by what its user calls it. Letter case and Unicode form do not matter; another form than the
// name's own is warned about. Throw CommandError when nothing, or more than one thing, has the name; it then lists the
// candidates.

// The name of the error when nothing is called so.
inline constexpr char UNKNOWN_NAME[] = "unknownName";

// By display name, instance number ("7", "#0007") or key.
ParentRow FindParent(CSession& session, const std::string& name);
// By its own name, display name or key, as PARENT/ID, by its id, or by its instance number ("#0012"). A number alone is
// an id, and refused when it is an instance number, too, of another VLAN.
VlanRow FindVlan(CSession& session, const std::string& name);

// The same among those that are known already.
ParentRow ChooseParent(const std::vector<ParentRow>& rows, const std::string& name);
VlanRow ChooseVlan(const std::vector<VlanRow>& rows, const std::string& name);

// Whether a name is this one, in any case of letters and any Unicode form.
bool IsSameName(const CRavString& own, const std::string& name);
// That another VLAN of the parent has the name in another Unicode form: nobody can tell them apart.
std::vector<Note> NameWarnings(CSession& session, const CRavString& parentKey, const std::string& name);
