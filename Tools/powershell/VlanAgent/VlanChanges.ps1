# Creating, changing and removing VLANs.

function New-Vlan {
    <#
    .SYNOPSIS
    Creates VLANs on an adapter or team.
    .DESCRIPTION
    All VLANs of one call are created under one lock and applied together. Where that costs something (the first VLAN of an
    adapter takes its TCP/IP and addresses) it is told, and asked about, before.
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
    .PARAMETER PassThru
    Returns the VLANs that were created, or had been there before.
    .EXAMPLE
    New-Vlan -ParentName 'Port A' -Id 10 -Name Sales
    .EXAMPLE
    New-Vlan 'Team 1' '20-29' -PassThru | Format-Table Id, Name, Mac
    .EXAMPLE
    Import-Csv vlans.csv | New-Vlan -IfMissing -Confirm:$false
    .OUTPUTS
    VlanAgent.Vlan with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [string] $ParentName,
        [Parameter(Mandatory = $true, Position = 1, ValueFromPipelineByPropertyName = $true)] [string[]] $Id,
        [Parameter(Position = 2, ValueFromPipelineByPropertyName = $true)] [string] $Name,
        [switch] $IfMissing,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $consent = New-Consent }
    process {
        $options = @(Get-RequestOptions $ParentName $Id $Name) + @(if ($IfMissing) { '--if-missing' })
        $reports = @(Invoke-Change $PSCmdlet (New-Change 'create' $Wait $options) $ParentName $consent)
        if ($PassThru) { Get-VlanByKey $PSCmdlet (Get-DoneKey $reports) }
    }
}

function Set-Vlan {
    <#
    .SYNOPSIS
    Gives a VLAN another name, id or type.
    .DESCRIPTION
    The VLAN keeps its connection and addresses. Another id or type reloads it: it carries no traffic for some seconds, and that
    is asked about. When one of several changes is refused none is made.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER NewName
    Its new name.
    .PARAMETER NewId
    Its new id, 1 to 4094.
    .PARAMETER NewType
    Its new type, 0 to 2.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns the VLAN as it is then.
    .EXAMPLE
    Set-Vlan Sales -NewName Office
    .EXAMPLE
    Get-Vlan -Name Voice | Set-Vlan -NewId 120 -PassThru
    .OUTPUTS
    VlanAgent.Vlan with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [ValidateNotNullOrEmpty()] [string] $NewName,
        [ValidateRange(1, 4094)] [int] $NewId,
        [ValidateRange(0, 2)] [int] $NewType,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin {
        $consent = New-Consent
        $verbs = @{ NewType = 'set-type'; NewId = 'set-id'; NewName = 'rename' }
        $wanted = @('NewType', 'NewId', 'NewName' | Where-Object { $PSBoundParameters.ContainsKey($_) })
        $values = $PSBoundParameters
        if ($wanted.Count -eq 0) {
            $meaning = 'name what is to be changed: -NewName, -NewId or -NewType'
            $PSCmdlet.ThrowTerminatingError((New-OwnError 'usage' $meaning $script:ExitStatus.Usage $null))
        }
    }
    process {
        foreach ($vlan in Resolve-Vlan $PSCmdlet $Key) {
            $changes = @($wanted | ForEach-Object { New-Change $verbs[$_] $Wait @() @($vlan, "$($values[$_])") })
            $reports = @(Invoke-Change $PSCmdlet $changes $vlan $consent)
            if (-not $PassThru -or $reports.Count -eq 0) { continue }
            $done = @(Get-DoneKey $reports)
            if ($done.Count -gt 0) { Get-VlanByKey $PSCmdlet $done } else { Get-NamedVlan $PSCmdlet $vlan }
        }
    }
}

function Remove-Vlan {
    <#
    .SYNOPSIS
    Removes VLANs.
    .DESCRIPTION
    The VLANs that come through the pipeline are removed together, under one lock. An untagged VLAN that would stay alone on its
    parent goes along. Connections over the VLANs are lost: it asks before.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER IfExists
    A VLAN that is not there is a warning, and no error.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns what was removed.
    .EXAMPLE
    Remove-Vlan Sales
    .EXAMPLE
    Get-Vlan -ParentName 'Port A' | Remove-Vlan -Confirm:$false
    .OUTPUTS
    VlanAgent.RemovedVlan with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.RemovedVlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [switch] $IfExists,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $keys = @() }
    process { $keys += Resolve-Vlan $PSCmdlet $Key }
    end {
        if ($keys.Count -eq 0) { return }
        $change = New-Change 'remove' $Wait @(if ($IfExists) { '--if-exists' }) $keys
        $reports = @(Invoke-Change $PSCmdlet $change $keys)
        if (-not $PassThru) { return }
        $removed = $reports | ForEach-Object { $_.steps } | Where-Object { $_.state -eq 'done' } |
            Select-Object -Property key, id, name, displayName, parentKey, parentName
        Add-TypeName $removed 'RemovedVlan'
    }
}

function Restart-Vlan {
    <#
    .SYNOPSIS
    Stops and starts a VLAN's miniport.
    .DESCRIPTION
    A VLAN that is loaded carries no traffic for some seconds: it asks before.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns the VLAN as it is then.
    .EXAMPLE
    Get-Vlan -Status notLoaded | Restart-Vlan -PassThru
    .OUTPUTS
    VlanAgent.Vlan with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium')]
    [OutputType('VlanAgent.Vlan')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $consent = New-Consent }
    process {
        foreach ($vlan in Resolve-Vlan $PSCmdlet $Key) {
            $reports = @(Invoke-Change $PSCmdlet (New-Change 'restart' $Wait @() $vlan) $vlan $consent)
            if ($PassThru) { Get-VlanByKey $PSCmdlet (Get-DoneKey $reports) }
        }
    }
}
