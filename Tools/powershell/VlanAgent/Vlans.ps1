# What VLANs and parents there are, and what there could be.

function Get-ListWords([string] $ParentName, [string[]] $Name, [string[]] $Id, [string[]] $Status) {
    $words = @('list', '--json') + @(Get-Option 'name' $Name)
    if ($ParentName -and -not (Test-Pattern $ParentName)) { $words += Get-Option 'parent' $ParentName }
    if ($Id) { $words += Get-Option 'id' ($Id -join ',') }
    if ($Status) { $words += Get-Option 'status' ($Status -join ',') }
    $words
}

function Get-Vlan {
    <#
    .SYNOPSIS
    Gets the VLANs of the machine.
    .DESCRIPTION
    Each VLAN has all that "vlanctl list --json" tells: id, name, parent, status, MAC, addresses, members of a team and more. A
    VLAN that "Test-VlanHost" would complain about has the status "damaged", and the names of the findings in Findings.

    The wildcards are * and ?. A name or an id without wildcards that no VLAN has is an error.
    .PARAMETER Name
    Only those with one of these names; wildcards are possible.
    .PARAMETER Id
    Only those with one of these ids: numbers, ranges ("20-29") and wildcards ("1?"); 0 is the untagged VLAN.
    .PARAMETER ParentName
    Only those of this adapter or team: its display name, also with wildcards, its instance number or its key.
    .PARAMETER Status
    Only those that are loaded, notLoaded, disabled, unknown or damaged; wildcards are possible.
    .EXAMPLE
    Get-Vlan -ParentName 'Port A'
    .EXAMPLE
    Get-Vlan -Name 'Lab*' | Remove-Vlan
    .EXAMPLE
    Get-VlanParent 'Team*' | Get-Vlan -Id 20-29
    .EXAMPLE
    Get-Vlan -Status damaged | Select-Object Name, Findings
    .OUTPUTS
    VlanAgent.Vlan
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Position = 0)] [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string[]] $Name,
        [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string[]] $Id,
        [Parameter(ValueFromPipelineByPropertyName = $true)] [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string] $ParentName,
        [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string[]] $Status
    )
    begin {
        $found = @()
        $isListed = $false
    }
    process {
        $answer = Invoke-Verb $PSCmdlet (Get-ListWords $ParentName $Name $Id $Status) $ParentName
        if (-not $answer) { return }
        $isListed = $true
        $vlans = @($answer.Json)
        if (Test-Pattern $ParentName) { $vlans = @($vlans | Where-Object { Test-Like $_.parentName $ParentName }) }
        $found += $vlans
        Add-TypeName $vlans 'Vlan'
    }
    end {
        if (-not $isListed) { return }
        Write-Missing $PSCmdlet $Name @($found | ForEach-Object { $_.name }) 'VLAN called'
        Write-Missing $PSCmdlet @($Id | Where-Object { $_ -match '^\d+$' }) @($found | ForEach-Object { "$($_.id)" }) 'VLAN with the id'
    }
}

function Get-VlanParent {
    <#
    .SYNOPSIS
    Gets the adapters and teams that can carry VLANs.
    .PARAMETER Name
    Only those with one of these display names; the wildcards * and ? are possible. A name that nothing has is an error.
    .PARAMETER All
    The others, too, with the reason why they can not.
    .EXAMPLE
    Get-VlanParent
    .EXAMPLE
    Get-VlanParent -All | Where-Object { -not $_.SupportsVlans } | Select-Object Name, Reason
    .OUTPUTS
    VlanAgent.Parent
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Parent')]
    param(
        [Parameter(Position = 0)] [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string[]] $Name = @('*'),
        [switch] $All
    )
    $words = @('parents', '--json') + @(if ($All) { '--all' })
    $answer = Invoke-Verb $PSCmdlet $words $Name
    if (-not $answer) { return }
    $parents = @($answer.Json | Where-Object {
            $parent = $_.name
            @($Name | Where-Object { Test-Like $parent $_ }).Count -gt 0
        })
    Add-TypeName $parents 'Parent'
    Write-Missing $PSCmdlet $Name @($parents | ForEach-Object { $_.name }) 'adapter or team called'
}

# The words that "create" and "validate" have in common.
function Get-RequestOptions([string] $ParentName, [string[]] $Id, [string] $Name) {
    Get-Option 'parent' $ParentName
    Get-Option 'id' ($Id -join ',')
    if ($Name) { Get-Option 'name' $Name } else { '--auto-names' }
}

function Test-Vlan {
    <#
    .SYNOPSIS
    Tells whether VLANs could be created on an adapter or team.
    .DESCRIPTION
    $true or $false; with -Detailed the errors and warnings instead. Nothing is changed.
    .PARAMETER ParentName
    The adapter or team: display name, instance number or key.
    .PARAMETER Id
    Ids and ranges ("10", "10,20-29", "untagged"), each with "=NAME" behind it or not.
    .PARAMETER Name
    The name; {id} in it becomes the VLAN's id. Without one each VLAN is named after its id.
    .PARAMETER Detailed
    An object with the errors and warnings.
    .EXAMPLE
    Test-Vlan -ParentName 'Port A' -Id 10 -Name Sales
    .EXAMPLE
    (Test-Vlan 'Port A' 4095 -Detailed).Errors
    .OUTPUTS
    Boolean, or VlanAgent.Validation with -Detailed
    #>
    [CmdletBinding()]
    [OutputType([bool])]
    [OutputType('VlanAgent.Validation')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [string] $ParentName,
        [Parameter(Mandatory = $true, Position = 1, ValueFromPipelineByPropertyName = $true)] [string[]] $Id,
        [Parameter(Position = 2, ValueFromPipelineByPropertyName = $true)] [string] $Name,
        [switch] $Detailed
    )
    process {
        $words = @('validate', '--json') + @(Get-RequestOptions $ParentName $Id $Name)
        $answer = Invoke-Verb $PSCmdlet $words $ParentName
        if (-not $answer) { return }
        if ($Detailed) { Add-TypeName $answer.Json 'Validation' }
        else { @($answer.Json.errors).Count -eq 0 }
    }
}
