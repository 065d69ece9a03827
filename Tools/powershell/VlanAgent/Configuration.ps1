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
    Only these adapters and teams.
    .EXAMPLE
    Export-VlanConfiguration vlans.json
    .EXAMPLE
    (Export-VlanConfiguration).parents.'Port A'.vlans
    #>
    [CmdletBinding()]
    param(
        [Parameter(Position = 0)] [ValidateNotNullOrEmpty()] [string] $Path,
        [ValidateNotNullOrEmpty()] [string[]] $ParentName
    )
    $words = @('export') + @($ParentName | Where-Object { $_ } | ForEach-Object { '--parent'; $_ })
    if (-not $Path) {
        $answer = Invoke-Verb $PSCmdlet $words $null
        if ($answer) { Add-TypeName $answer.Json 'Configuration' }
        return
    }
    $answer = Invoke-Vlanctl ($words + @('--output', (Get-FilePath $PSCmdlet $Path)))
    if ($answer.ExitStatus -ne $script:ExitStatus.Done) {
        $fault = [pscustomobject]@{ name = 'NotExported'; code = ''; advice = ''; meaning = "vlanctl ended with $($answer.ExitStatus); -Verbose has what it says" }
        $PSCmdlet.WriteError((New-VlanctlError $fault $answer.ExitStatus $Path))
    }
}

# The words that "diff" and "apply" have in common.
function Get-FileWords($Cmdlet, [string] $Verb, [string] $Path, [string[]] $ParentName, [bool] $Prune) {
    @($Verb, (Get-FilePath $Cmdlet $Path)) + @(if ($Prune) { '--prune' }) + @($ParentName | Where-Object { $_ } | ForEach-Object { '--parent'; $_ })
}

function Compare-VlanConfiguration {
    <#
    .SYNOPSIS
    Tells what differs between the machine and a file, one object for each VLAN.
    .DESCRIPTION
    With -Quiet $true when nothing differs, else $false. What applying the file would cost is told as warnings.
    .PARAMETER Prune
    VLANs that the file does not name would be removed.
    .EXAMPLE
    Compare-VlanConfiguration vlans.json
    .EXAMPLE
    Compare-VlanConfiguration vlans.json -Prune -Quiet
    .OUTPUTS
    VlanAgent.Difference, or a Boolean with -Quiet
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Difference', [bool])]
    param(
        [Parameter(Mandatory = $true, Position = 0, ValueFromPipelineByPropertyName = $true)] [Alias('FullName')] [string] $Path,
        [string[]] $ParentName,
        [switch] $Prune,
        [switch] $Quiet
    )
    process {
        $words = (Get-FileWords $PSCmdlet 'diff' $Path $ParentName $Prune) + '--json'
        $answer = Invoke-Verb $PSCmdlet $words $Path
        if (-not $answer) { return }
        Write-Report $PSCmdlet $answer $Path
        if ($Quiet) { $answer.ExitStatus -eq $script:ExitStatus.Done }
        else { Add-TypeName $answer.Json.differences 'Difference' }
    }
}

function Set-VlanConfiguration {
    <#
    .SYNOPSIS
    Brings the VLANs of the machine to what a file says.
    .DESCRIPTION
    All or nothing: a step that fails takes everything back. With -ConfirmWithin it is taken back, too, unless "vlanctl confirm"
    comes in time, over a new connection to the machine, say.
    .PARAMETER Prune
    VLANs that the file does not name are removed.
    .PARAMETER Keep
    When a step fails what was done stays.
    .PARAMETER ConfirmWithin
    Seconds in which the change has to be confirmed.
    .EXAMPLE
    Set-VlanConfiguration vlans.json -WhatIf
    .EXAMPLE
    Set-VlanConfiguration vlans.json -ConfirmWithin 60 -Confirm:$false; vlanctl confirm
    .OUTPUTS
    VlanAgent.Difference with -PassThru: what differed before.
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
        $words = (Get-FileWords $PSCmdlet 'apply' $Path $ParentName $Prune) + @(if ($Keep) { '--keep' })
        if ($PSBoundParameters.ContainsKey('ConfirmWithin')) { $words += @('--confirm-within', "$ConfirmWithin") }
        $report = Invoke-Change $PSCmdlet $words $Wait $Path
        if (-not $report) { return }
        if (Test-Member $report 'confirmUntil') {
            $PSCmdlet.WriteWarning("it is taken back at $($report.confirmUntil) unless 'vlanctl confirm' comes first")
        }
        if ($PassThru) { Add-TypeName $report.differences 'Difference' }
    }
}
