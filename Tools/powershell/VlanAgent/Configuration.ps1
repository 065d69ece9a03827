# The VLANs of a machine as a file.

# A path as vlanctl reads it: PowerShell's own location is not the process's.
function Get-FilePath($Cmdlet, [string] $Path) {
    $Cmdlet.SessionState.Path.GetUnresolvedProviderPathFromPSPath($Path)
}

function Export-VlanConfiguration {
    <#
    .SYNOPSIS
    Writes the VLANs of the machine as a file, or returns them as an object.
    .PARAMETER Path
    The file, which is replaced when it is there. Without one the configuration is returned.
    .PARAMETER ParentName
    Only these adapters and teams: display name, instance number or key.
    .EXAMPLE
    Export-VlanConfiguration vlans.json
    .EXAMPLE
    (Export-VlanConfiguration).parents.'Port A'.vlans
    .OUTPUTS
    VlanAgent.Configuration without a file; nothing with one.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Low')]
    [OutputType('VlanAgent.Configuration')]
    param(
        [Parameter(Position = 0)] [ValidateNotNullOrEmpty()] [string] $Path,
        [Parameter(Position = 1)] [ValidateNotNullOrEmpty()] [string[]] $ParentName
    )
    $words = @('export', '--json') + @(Get-Option 'parent' $ParentName)
    if (-not $Path) {
        $answer = Invoke-Verb $PSCmdlet $words $ParentName
        if ($answer) { Add-TypeName $answer.Json 'Configuration' }
        return
    }
    $file = Get-FilePath $PSCmdlet $Path
    if (-not $PSCmdlet.ShouldProcess($file, 'write the VLANs of the machine')) { return }
    $null = Invoke-Verb $PSCmdlet ($words + @(Get-Option 'output' $file)) $Path
}

# The options that "diff" and "apply" have in common.
function Get-FileOptions([string[]] $ParentName, [bool] $Prune) {
    Get-Option 'parent' $ParentName
    if ($Prune) { '--prune' }
}

function Compare-VlanConfiguration {
    <#
    .SYNOPSIS
    Tells what differs between the machine and a file, one object for each VLAN.
    .DESCRIPTION
    With -Quiet $true when nothing differs, else $false. What applying the file would cost is told as warnings.
    .PARAMETER Path
    The file.
    .PARAMETER ParentName
    Only these adapters and teams of the file.
    .PARAMETER Prune
    VLANs that the file does not name would be removed.
    .PARAMETER Quiet
    $true or $false instead of differences.
    .EXAMPLE
    Compare-VlanConfiguration vlans.json
    .EXAMPLE
    Compare-VlanConfiguration vlans.json -Prune -Quiet
    .OUTPUTS
    VlanAgent.Difference, or a Boolean with -Quiet
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Difference')]
    [OutputType([bool])]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('FullName')] [string] $Path,
        [string[]] $ParentName,
        [switch] $Prune,
        [switch] $Quiet
    )
    process {
        $words = @('diff', '--json') + @(Get-FileOptions $ParentName $Prune) + @('--', (Get-FilePath $PSCmdlet $Path))
        $answer = Invoke-Verb $PSCmdlet $words $Path
        if (-not $answer) { return }
        Write-Report $PSCmdlet $answer.Json $Path
        if ($Quiet) { $answer.ExitStatus -eq $script:ExitStatus.Done }
        else { Add-TypeName $answer.Json.differences 'Difference' }
    }
}

function Set-VlanConfiguration {
    <#
    .SYNOPSIS
    Brings the VLANs of the machine to what a file says.
    .DESCRIPTION
    All or nothing: a step that fails takes everything back. It always asks before.

    With -ConfirmWithin it returns when the change is made, and the change is taken back unless Confirm-VlanConfiguration (or
    "vlanctl confirm") comes in time, over a new connection to the machine, say.
    .PARAMETER Path
    The file.
    .PARAMETER ParentName
    Only these adapters and teams of the file.
    .PARAMETER Prune
    VLANs that the file does not name are removed.
    .PARAMETER Keep
    When a step fails what was done stays.
    .PARAMETER ConfirmWithin
    Seconds in which the change has to be confirmed.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns what differed before.
    .EXAMPLE
    Set-VlanConfiguration vlans.json -WhatIf
    .EXAMPLE
    Set-VlanConfiguration vlans.json -ConfirmWithin 60; Confirm-VlanConfiguration
    .OUTPUTS
    VlanAgent.Difference with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Difference')]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('FullName')] [string] $Path,
        [string[]] $ParentName,
        [switch] $Prune,
        [switch] $Keep,
        [ValidateRange(1, 86400)] [int] $ConfirmWithin,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    process {
        $options = @(Get-FileOptions $ParentName $Prune) + @(if ($Keep) { '--keep' })
        if ($PSBoundParameters.ContainsKey('ConfirmWithin')) { $options += "--confirm-within=$ConfirmWithin" }
        $change = New-Change 'apply' $Wait $options (Get-FilePath $PSCmdlet $Path)
        foreach ($report in Invoke-Change $PSCmdlet $change $Path) {
            if (Test-Member $report 'confirmUntil') {
                $PSCmdlet.WriteWarning("it is taken back at $($report.confirmUntil) unless Confirm-VlanConfiguration comes first")
            }
            if ($PassThru) { Add-TypeName $report.differences 'Difference' }
        }
    }
}

function Confirm-VlanConfiguration {
    <#
    .SYNOPSIS
    Keeps a change of Set-VlanConfiguration that waits for its confirmation, or has it taken back.
    .DESCRIPTION
    Without a change that waits it is an error, which tells what has become of the last one.
    .PARAMETER RollBack
    Takes the change back at once; also one that could not be taken back before.
    .PARAMETER Discard
    Gives up the old state of a change that could not be taken back.
    .EXAMPLE
    Confirm-VlanConfiguration
    .EXAMPLE
    Confirm-VlanConfiguration -RollBack -Confirm:$false
    .OUTPUTS
    VlanAgent.Confirmation: whether it is kept, whose it was and since when, and its outcome.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'Medium', DefaultParameterSetName = 'Keep')]
    [OutputType('VlanAgent.Confirmation')]
    param(
        [Parameter(Mandatory = $true, ParameterSetName = 'RollBack')] [switch] $RollBack,
        [Parameter(Mandatory = $true, ParameterSetName = 'Discard')] [switch] $Discard
    )
    $what = 'keep the change that waits for its confirmation'
    $costs = @()
    if ($RollBack) {
        $what = 'take the last change back'
        $costs = @('Connections over its VLANs may be lost')
    }
    elseif ($Discard) { $what = 'give up the old state of a change that could not be taken back' }
    if (-not (Confirm-Change $PSCmdlet $what $costs (New-Consent))) { return }
    $words = @('confirm', '--json') + @(if ($RollBack) { '--roll-back' }) + @(if ($Discard) { '--discard' })
    $answer = Invoke-Verb $PSCmdlet $words $null
    if (-not $answer) { return }
    Add-TypeName ($answer.Json | Select-Object -Property kept, who, since, outcome) 'Confirmation'
    if ($answer.ExitStatus -eq $script:ExitStatus.Done) { return }
    $PSCmdlet.WriteError((New-OwnError 'notAsWanted' $answer.Json.outcome $answer.ExitStatus $null))
}
