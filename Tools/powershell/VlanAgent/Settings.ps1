# Advanced settings of VLANs.

function Get-VlanSetting {
    <#
    .SYNOPSIS
    Gets the advanced settings of a VLAN.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID.
    .PARAMETER Name
    Only settings with this keyword or display name; wildcards are possible. A keyword's asterisk may be left out.
    .EXAMPLE
    Get-Vlan Sales | Get-VlanSetting | Where-Object Differs
    .OUTPUTS
    VlanAgent.Setting
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string] $Key,
        [Parameter(Position = 1)] [SupportsWildcards()] [string] $Name = '*'
    )
    process {
        $answer = Invoke-Verb $PSCmdlet @('settings', $Key, '--json') $Key
        if (-not $answer) { return }
        foreach ($setting in $answer.Json) {
            if (-not ($setting.name.TrimStart('*') -like $Name.TrimStart('*') -or $setting.displayName -like $Name -or $Name -eq '*')) { continue }
            # Under its own name: as Key it would be taken for the setting's.
            $setting | Add-Member -NotePropertyName 'Vlan' -NotePropertyValue $Key
            Add-TypeName $setting 'Setting'
        }
    }
}

function Set-VlanSetting {
    <#
    .SYNOPSIS
    Changes advanced settings of a VLAN.
    .DESCRIPTION
    The VLAN is reloaded once: it carries no traffic for some seconds.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID.
    .PARAMETER Name
    Keyword (also without the asterisk) or display name of one setting.
    .PARAMETER Value
    Its new value: a number, or the text of a choice.
    .PARAMETER Setting
    Several settings at once: @{ NumRssQueues = 4; '*LsoV2IPv4' = 'Disabled' }.
    .PARAMETER Hidden
    Also settings that the driver does not offer.
    .EXAMPLE
    Set-VlanSetting Sales NumRssQueues 4
    .EXAMPLE
    Get-Vlan -ParentName 'Port A' | Set-VlanSetting -Setting @{ '*JumboPacket' = '9014 Bytes' } -Confirm:$false
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High', DefaultParameterSetName = 'One')]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string] $Key,
        [Parameter(Mandatory = $true, Position = 1, ParameterSetName = 'One')] [string] $Name,
        [Parameter(Mandatory = $true, Position = 2, ParameterSetName = 'One')] [string] $Value,
        [Parameter(Mandatory = $true, ParameterSetName = 'Several')] [System.Collections.IDictionary] $Setting,
        [switch] $Hidden,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $values = if ($PSCmdlet.ParameterSetName -eq 'One') { "$Name=$Value" }
        else { $Setting.Keys | ForEach-Object { "$_=$($Setting[$_])" } }
        $words = @('set', $Key) + @($values) + @(if ($Hidden) { '--hidden' })
        $report = Invoke-Change $PSCmdlet $words $Wait $Key
        if ($PassThru -and $report) { Get-VlanSetting -Key $Key }
    }
}

function Reset-VlanSetting {
    <#
    .SYNOPSIS
    Gives advanced settings of a VLAN their default values.
    .PARAMETER Name
    The settings; without any all of them.
    .EXAMPLE
    Reset-VlanSetting Sales
    .EXAMPLE
    Reset-VlanSetting Sales '*JumboPacket'
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')] [string] $Key,
        [Parameter(Position = 1)] [string[]] $Name,
        [switch] $Hidden,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $words = @('reset', $Key) + @(if ($Name) { $Name } else { '--all' }) + @(if ($Hidden) { '--hidden' })
        $report = Invoke-Change $PSCmdlet $words $Wait $Key
        if ($PassThru -and $report) { Get-VlanSetting -Key $Key }
    }
}
