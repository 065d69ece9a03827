# Which VLANs and parents are meant.

function Test-Pattern([string] $Text) {
    $Text -match '[*?]'
}

# By the wildcards that vlanctl knows, too: * and ?, and nothing else.
function Test-Like([string] $Text, [string] $Pattern) {
    $Text.Normalize() -like $Pattern.Normalize().Replace('`', '``').Replace('[', '`[').Replace(']', '`]')
}

# An error for each name without wildcards that nothing is called by.
function Write-Missing($Cmdlet, [string[]] $Names, [string[]] $Found, [string] $What) {
    foreach ($name in $Names) {
        if ((Test-Pattern $name) -or @($Found | Where-Object { Test-Like $_ $name }).Count -gt 0) { continue }
        $Cmdlet.WriteError((New-NotFoundError "there is no $What `"$name`"" 'unknownName' $name))
    }
}

# PARENT/ID
function Get-Place($Vlan) {
    "$($Vlan.parentName)/$($Vlan.id)"
}

# VLANs by whatever they are called, for vlanctl, which refuses what nobody or several are called. With wildcards, which no name
# can have, the keys of those whose name or PARENT/ID is so.
function Resolve-Vlan($Cmdlet, [string[]] $Key) {
    $vlans = $null
    foreach ($one in $Key) {
        if (-not (Test-Pattern $one)) {
            $one
            continue
        }
        if ($null -eq $vlans) { $vlans = Invoke-Verb $Cmdlet @('list', '--json') $one }
        if ($null -eq $vlans) { return }
        $vlans.Json | Where-Object { (Test-Like $_.name $one) -or (Test-Like (Get-Place $_) $one) } | ForEach-Object { $_.key }
    }
}

# The VLANs with these keys as they are now.
function Get-VlanByKey($Cmdlet, [string[]] $Key) {
    if (-not $Key) { return }
    $answer = Invoke-Verb $Cmdlet @('list', '--json') $Key
    if ($answer) { Add-TypeName @($answer.Json | Where-Object { $Key -contains $_.key }) 'Vlan' }
}

# The keys of the VLANs of all steps that were done, or had been before.
function Get-DoneKey($Reports) {
    @($Reports | ForEach-Object { $_.steps } | Where-Object { $_.state -in 'done', 'isThere' } | ForEach-Object { $_.key } | Select-Object -Unique)
}

# One VLAN, whatever it is called by.
function Get-NamedVlan($Cmdlet, [string] $Vlan) {
    $answer = Invoke-Verb $Cmdlet @('show', '--json', '--', $Vlan) $Vlan
    if ($answer) { Add-TypeName ($answer.Json | Select-Object -Property * -ExcludeProperty settings) 'Vlan' }
}
