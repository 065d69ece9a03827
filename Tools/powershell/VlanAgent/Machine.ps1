# What is wrong with the VLANs of the machine.

function Get-DoctorWords([string] $ParentName) {
    @('doctor', '--json') + @(if ($ParentName) { '--parent'; $ParentName })
}

function Test-VlanHost {
    <#
    .SYNOPSIS
    Tells what is wrong with the VLANs of the machine.
    .DESCRIPTION
    One object for each finding; with -Quiet $true when there is none, else $false. Nothing is changed.
    .PARAMETER ParentName
    Only what concerns this adapter or team and its VLANs.
    .EXAMPLE
    Test-VlanHost | Format-List Name, Where, Detail, Meaning
    .EXAMPLE
    if (-not (Test-VlanHost -Quiet)) { Repair-VlanHost }
    .OUTPUTS
    VlanAgent.Finding, or a Boolean with -Quiet
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Finding', [bool])]
    param(
        [Parameter(Position = 0)] [ValidateNotNullOrEmpty()] [string] $ParentName,
        [switch] $Quiet
    )
    $answer = Invoke-Verb $PSCmdlet (Get-DoctorWords $ParentName) $ParentName
    if (-not $answer) { return }
    if ($Quiet) { $answer.Json.healthy }
    else { Add-TypeName $answer.Json.findings 'Finding' }
}

function Repair-VlanHost {
    <#
    .SYNOPSIS
    Mends what is wrong with the VLANs of the machine.
    .DESCRIPTION
    What only the administrator can decide is left, with the commands that decide it, and is an error.
    .PARAMETER Name
    Only findings with these names.
    .PARAMETER ParentName
    Only what concerns this adapter or team and its VLANs.
    .EXAMPLE
    Repair-VlanHost -WhatIf
    .EXAMPLE
    Repair-VlanHost -Name binding-list, not-bound -Confirm:$false -PassThru
    .OUTPUTS
    VlanAgent.Finding with -PassThru: what was mended.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High')]
    [OutputType('VlanAgent.Finding')]
    param(
        [Parameter(Position = 0, ValueFromPipelineByPropertyName = $true)] [string[]] $Name,
        [ValidateNotNullOrEmpty()] [string] $ParentName,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $names = @() }
    process { $names += $Name }
    end {
        $names = @($names | Where-Object { $_ } | Select-Object -Unique)
        $answer = Invoke-Verb $PSCmdlet (Get-DoctorWords $ParentName) $ParentName
        if (-not $answer) { return }
        $mendable = @($answer.Json.findings | Where-Object { @($_.steps).Count -gt 0 -and ($names.Count -eq 0 -or $names -contains $_.name) })
        if ($mendable.Count -gt 0) {
            $what = ($mendable | ForEach-Object { "$($_.name) on $($_.where): $($_.repair)" }) -join "`n"
            if (-not $PSCmdlet.ShouldProcess($what, "$what`nGo on?", 'vlanctl')) { return }
            $words = (Get-DoctorWords $ParentName) + @('--yes', '--wait', "$Wait", '--repair') + $names
            $answer = Invoke-Verb $PSCmdlet $words $ParentName
            if (-not $answer) { return }
            if ($answer.Json.restartNeeded) { $PSCmdlet.WriteWarning('a restart of the system is needed for what was done to take full effect') }
            if ($PassThru) { Add-TypeName $answer.Json.mended 'Finding' }
        }
        foreach ($left in $answer.Json.findings) {
            if ($names.Count -gt 0 -and $names -notcontains $left.name) { continue }
            $fault = [pscustomobject]@{
                name = $left.name; code = ''; meaning = "$($left.name) on $($left.where) is left: $($left.detail)"
                advice = (@($left.commands) -join '; ')
            }
            $PSCmdlet.WriteError((New-VlanctlError $fault $script:ExitStatus.Findings $left))
        }
    }
}
