# VLANs and their parents.

function Get-Vlan {
    <#
    .SYNOPSIS
    Gets the VLANs of the machine.
    .DESCRIPTION
    Each VLAN has all that "vlanctl list --json" tells: id, name, parent, status, MAC, addresses, members of a team and more. A
    VLAN that "Test-VlanHost" would complain about has the status "damaged", and the names of the findings in Findings.
    .PARAMETER Name
    Only those with this name; wildcards are possible.
    .PARAMETER Id
    Only those with one of these ids; 0 is the untagged VLAN.
    .PARAMETER ParentName
    Only those of this adapter or team: its display name, instance number or key.
    .PARAMETER Status
    Only those that are loaded, notLoaded, disabled, unknown or damaged; wildcards are possible.
    .EXAMPLE
    Get-Vlan -ParentName 'Port A'
    .EXAMPLE
    Get-Vlan -Name 'Lab*' | Remove-Vlan
    .EXAMPLE
    Get-Vlan -Status damaged | Select-Object Name, Findings
    .OUTPUTS
    VlanAgent.Vlan
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Position = 0)] [SupportsWildcards()] [string[]] $Name,
        [ValidateRange(0, 4094)] [int[]] $Id,
        [Parameter(ValueFromPipelineByPropertyName = $true)] [ValidateNotNullOrEmpty()] [string] $ParentName,
        [SupportsWildcards()] [string[]] $Status
    )
    process {
        $words = @('list', '--json')
        if ($ParentName) { $words += @('--parent', $ParentName) }
        foreach ($one in $Name) { $words += @('--name', $one) }
        if ($PSBoundParameters.ContainsKey('Id')) { $words += @('--id', ($Id -join ',')) }
        if ($Status) { $words += @('--status', ($Status -join ',')) }
        $answer = Invoke-Verb $PSCmdlet $words $ParentName
        if ($answer) { Add-TypeName $answer.Json 'Vlan' }
    }
}

function Get-VlanParent {
    <#
    .SYNOPSIS
    Gets the adapters and teams that can carry VLANs.
    .PARAMETER Name
    Only those with this display name; wildcards are possible.
    .PARAMETER All
    The others, too, with the reason why they can not.
    .EXAMPLE
    Get-VlanParent -All | Where-Object { -not $_.SupportsVlans } | Select-Object Name, Reason
    .OUTPUTS
    VlanAgent.Parent
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Parent')]
    param(
        [Parameter(Position = 0)] [SupportsWildcards()] [string] $Name = '*',
        [switch] $All
    )
    $words = @('parents', '--json') + @(if ($All) { '--all' })
    $answer = Invoke-Verb $PSCmdlet $words $Name
    if ($answer) { Add-TypeName @($answer.Json | Where-Object { $_.name -like $Name }) 'Parent' }
}

# The words that "create" and "validate" have in common.
function Get-RequestWords([string] $Verb, [string] $ParentName, [string[]] $Ids, [string] $Name) {
    $id = $Ids -join ','
    $words = @($Verb, '--parent', $ParentName, '--id', $id)
    if ($Name) { $words + @('--name', $Name) }
    elseif ($id -notmatch '=') { $words + '--auto-names' }
    else { $words }
}

function New-Vlan {
    <#
    .SYNOPSIS
    Creates VLANs on an adapter or team.
    .DESCRIPTION
    All VLANs of one call are created under one lock and applied together. What that costs (the first VLAN of an adapter takes
    its TCP/IP) is told before, and asked about where a connection is lost.
    .PARAMETER ParentName
    The adapter or team: display name, instance number or key.
    .PARAMETER Id
    Ids and ranges ("10", "10,20-29", "untagged"), each with "=NAME" behind it or not.
    .PARAMETER Name
    The name; {id} in it becomes the VLAN's id. Without one each VLAN is named after its id.
    .PARAMETER IfMissing
    VLANs that are there with the same id and name are left alone, and are no error.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .EXAMPLE
    New-Vlan -ParentName 'Port A' -Id 10 -Name Sales
    .EXAMPLE
    New-Vlan 'Team 1' '20-29' -PassThru | Format-Table Id, Name, Mac
    .EXAMPLE
    Import-Csv vlans.csv | New-Vlan -IfMissing -Confirm:$false
    .OUTPUTS
    VlanAgent.Vlan with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [string] $ParentName,
        [Parameter(Mandatory = $true, Position = 1, ValueFromPipelineByPropertyName = $true)] [string[]] $Id,
        [Parameter(Position = 2, ValueFromPipelineByPropertyName = $true)] [string] $Name,
        [switch] $IfMissing,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $words = @(Get-RequestWords 'create' $ParentName $Id $Name) + @(if ($IfMissing) { '--if-missing' })
        $report = Invoke-Change $PSCmdlet $words $Wait $ParentName
        if ($PassThru -and $report) { Get-ChangedVlan $PSCmdlet $report }
    }
}

function Test-Vlan {
    <#
    .SYNOPSIS
    Tells whether VLANs could be created on an adapter or team.
    .DESCRIPTION
    $true or $false; with -Detailed the errors and warnings instead. Nothing is changed.
    .EXAMPLE
    Test-Vlan -ParentName 'Port A' -Id 10 -Name Sales
    .EXAMPLE
    (Test-Vlan 'Port A' 4095 -Detailed).Errors
    #>
    [CmdletBinding()]
    [OutputType([bool])]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [string] $ParentName,
        [Parameter(Mandatory = $true, Position = 1, ValueFromPipelineByPropertyName = $true)] [string[]] $Id,
        [Parameter(Position = 2, ValueFromPipelineByPropertyName = $true)] [string] $Name,
        [switch] $Detailed
    )
    process {
        $words = @(Get-RequestWords 'validate' $ParentName $Id $Name) + '--json'
        $answer = Invoke-Verb $PSCmdlet $words $ParentName
        if (-not $answer) { return }
        if ($Detailed) { Add-TypeName $answer.Json 'Validation' }
        else { @($answer.Json.errors).Count -eq 0 }
    }
}

function Set-Vlan {
    <#
    .SYNOPSIS
    Gives a VLAN another name, id or type.
    .DESCRIPTION
    The VLAN keeps its connection and addresses. Another id or type reloads it: it carries no traffic for some seconds.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID.
    .PARAMETER NewName
    Its new name.
    .PARAMETER NewId
    Its new id, 1 to 4094.
    .PARAMETER NewType
    Its new type, 0 to 2.
    .EXAMPLE
    Set-Vlan Sales -NewName Office
    .EXAMPLE
    Get-Vlan -Name Voice | Set-Vlan -NewId 120 -PassThru
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string] $Key,
        [ValidateNotNullOrEmpty()] [string] $NewName,
        [ValidateRange(1, 4094)] [int] $NewId,
        [ValidateRange(0, 2)] [int] $NewType,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $changes = @()
        if ($PSBoundParameters.ContainsKey('NewType')) { $changes += , @('set-type', "$NewType") }
        if ($PSBoundParameters.ContainsKey('NewId')) { $changes += , @('set-id', "$NewId") }
        if ($PSBoundParameters.ContainsKey('NewName')) { $changes += , @('rename', $NewName) }
        if ($changes.Count -eq 0) {
            $fault = [pscustomobject]@{ name = 'NothingToChange'; code = ''; advice = ''; meaning = 'name what is to be changed: -NewName, -NewId or -NewType' }
            $PSCmdlet.WriteError((New-VlanctlError $fault $script:ExitStatus.Usage $Key))
            return
        }
        $vlan = $Key
        foreach ($change in $changes) {
            $report = Invoke-Change $PSCmdlet @($change[0], $vlan, $change[1]) $Wait $Key
            if (-not $report -or $report.exitStatus -notin $script:ExitStatus.Done, $script:ExitStatus.Restart) { return }
            if (@($report.steps).Count -gt 0) { $vlan = $report.steps[0].key } # whatever it is called from now on
        }
        if ($PassThru) { Get-NamedVlan $PSCmdlet $vlan }
    }
}

function Remove-Vlan {
    <#
    .SYNOPSIS
    Removes VLANs.
    .DESCRIPTION
    The VLANs that come through the pipeline are removed together, under one lock. An untagged VLAN that would stay alone on its
    parent goes along. Connections over the VLANs are lost.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID.
    .PARAMETER IfExists
    A VLAN that is not there is no error.
    .EXAMPLE
    Remove-Vlan Sales
    .EXAMPLE
    Get-Vlan -ParentName 'Port A' | Remove-Vlan -Confirm:$false
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string[]] $Key,
        [switch] $IfExists,
        [ValidateRange(0, 3600)] [int] $Wait = 10
    )
    begin { $keys = @() }
    process { $keys += $Key }
    end {
        if ($keys.Count -eq 0) { return }
        $words = @('remove') + @(if ($IfExists) { '--if-exists' }) + $keys
        $null = Invoke-Change $PSCmdlet $words $Wait $keys
    }
}

function Restart-Vlan {
    <#
    .SYNOPSIS
    Stops and starts a VLAN's miniport.
    .DESCRIPTION
    It carries no traffic for some seconds.
    .EXAMPLE
    Get-Vlan -Status notLoaded | Restart-Vlan
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string] $Key,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $report = Invoke-Change $PSCmdlet @('restart', $Key) $Wait $Key
        if ($PassThru -and $report) { Get-NamedVlan $PSCmdlet $Key }
    }
}
