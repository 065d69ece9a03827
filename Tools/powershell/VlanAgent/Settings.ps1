# Advanced settings of VLANs.

# "NumRssQueues" is "*NumRssQueues", too.
function Test-SettingName($Setting, [string] $Name) {
    (Test-Like $Setting.name $Name) -or (Test-Like $Setting.name.TrimStart('*') $Name.TrimStart('*')) -or (Test-Like $Setting.displayName $Name)
}

function Get-VlanSetting {
    <#
    .SYNOPSIS
    Gets the advanced settings of a VLAN.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER Name
    Only settings with one of these keywords or display names; the wildcards * and ? are possible. A keyword's asterisk may be
    left out.
    .EXAMPLE
    Get-Vlan Sales | Get-VlanSetting | Where-Object Differs
    .EXAMPLE
    Get-VlanSetting 'Port A/*' NumRss*
    .OUTPUTS
    VlanAgent.Setting
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [Parameter(Position = 1)] [ValidateNotNullOrEmpty()] [SupportsWildcards()] [string[]] $Name = @('*')
    )
    process {
        foreach ($vlan in Resolve-Vlan $PSCmdlet $Key) {
            $answer = Invoke-Verb $PSCmdlet @('settings', '--json', '--', $vlan) $vlan
            if (-not $answer) { continue }
            foreach ($setting in $answer.Json) {
                if (@($Name | Where-Object { Test-SettingName $setting $_ }).Count -eq 0) { continue }
                # Under its own name: as Key it would be taken for the setting's.
                $setting | Add-Member -NotePropertyName 'Vlan' -NotePropertyValue $vlan
                Add-TypeName $setting 'Setting'
            }
        }
    }
}

# A change of the settings of each of these VLANs.
function Invoke-SettingChange($Cmdlet, [string] $Verb, $Request, [string[]] $Values, [string[]] $Options, $Consent) {
    $hidden = @(if ($Request.Hidden) { '--hidden' })
    foreach ($vlan in Resolve-Vlan $Cmdlet $Request.Key) {
        $change = New-Change $Verb $Request.Wait ($Options + $hidden) (@($vlan) + $Values)
        $reports = @(Invoke-Change $Cmdlet $change $vlan $Consent)
        if ($Request.PassThru -and $reports.Count -gt 0) { Get-VlanSetting -Key $vlan -Name $Request.Names }
    }
}

function Set-VlanSetting {
    <#
    .SYNOPSIS
    Changes advanced settings of a VLAN.
    .DESCRIPTION
    A VLAN that is loaded is reloaded once: it carries no traffic for some seconds, and that is asked about.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER Name
    Keyword (also without the asterisk) or display name of one setting.
    .PARAMETER Value
    Its new value: a number, or the text of a choice.
    .PARAMETER Setting
    Several settings at once: @{ NumRssQueues = 4; '*LsoV2IPv4' = 'Disabled' }.
    .PARAMETER Hidden
    Also settings that the driver does not offer.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns these settings as they are then.
    .EXAMPLE
    Set-VlanSetting Sales NumRssQueues 4
    .EXAMPLE
    Get-Vlan -ParentName 'Port A' | Set-VlanSetting -Setting @{ '*JumboPacket' = '9014 Bytes' } -Confirm:$false
    .OUTPUTS
    VlanAgent.Setting with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium', DefaultParameterSetName = 'One')]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [Parameter(Mandatory = $true, Position = 1, ParameterSetName = 'One')] [string] $Name,
        [Parameter(Mandatory = $true, Position = 2, ParameterSetName = 'One')] [string] $Value,
        [Parameter(Mandatory = $true, ParameterSetName = 'Several')] [System.Collections.IDictionary] $Setting,
        [switch] $Hidden,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $consent = New-Consent }
    process {
        $wanted = if ($PSCmdlet.ParameterSetName -eq 'One') { @{ $Name = $Value } } else { $Setting }
        $values = @($wanted.Keys | ForEach-Object { "$_=$($wanted[$_])" })
        $request = @{ Key = $Key; Hidden = $Hidden; Wait = $Wait; PassThru = $PassThru; Names = @($wanted.Keys) }
        Invoke-SettingChange $PSCmdlet 'set' $request $values @() $consent
    }
}

function Reset-VlanSetting {
    <#
    .SYNOPSIS
    Gives advanced settings of a VLAN their default values.
    .DESCRIPTION
    A VLAN that is loaded is reloaded once: it carries no traffic for some seconds, and that is asked about.
    .PARAMETER Key
    The VLAN: its key, as Get-Vlan gives it, name, display name, id, or PARENT/ID; also several, and wildcards.
    .PARAMETER Name
    The settings, by keyword (also without the asterisk) or display name; without any all of them.
    .PARAMETER Hidden
    Also settings that the driver does not offer.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns these settings as they are then.
    .EXAMPLE
    Reset-VlanSetting Sales
    .EXAMPLE
    Reset-VlanSetting Sales '*JumboPacket'
    .OUTPUTS
    VlanAgent.Setting with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium')]
    [OutputType('VlanAgent.Setting')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('Vlan')]
        [SupportsWildcards()] [string[]] $Key,
        [Parameter(Position = 1)] [ValidateNotNullOrEmpty()] [string[]] $Name,
        [switch] $Hidden,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $consent = New-Consent }
    process {
        $names = if ($Name) { $Name } else { '*' }
        $request = @{ Key = $Key; Hidden = $Hidden; Wait = $Wait; PassThru = $PassThru; Names = $names }
        Invoke-SettingChange $PSCmdlet 'reset' $request @($Name | Where-Object { $_ }) @(if (-not $Name) { '--all' }) $consent
    }
}
