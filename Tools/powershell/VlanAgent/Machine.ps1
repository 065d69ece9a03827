# What is wrong with the VLANs of the machine.

function Get-DoctorWords([string] $ParentName) {
    @('doctor', '--json') + @(if ($ParentName) { Get-Option 'parent' $ParentName })
}

function Test-VlanHost {
    <#
    .SYNOPSIS
    Tells what is wrong with the VLANs of the machine.
    .DESCRIPTION
    One object for each finding; with -Quiet $true when there is none, else $false. Nothing is changed.
    .PARAMETER ParentName
    Only what concerns this adapter or team and its VLANs: display name, instance number or key.
    .PARAMETER Quiet
    $true or $false instead of findings.
    .EXAMPLE
    Test-VlanHost | Format-List Name, Where, Detail, Meaning
    .EXAMPLE
    if (-not (Test-VlanHost -Quiet)) { Repair-VlanHost }
    .OUTPUTS
    VlanAgent.Finding, or a Boolean with -Quiet
    #>
    [CmdletBinding()]
    [OutputType('VlanAgent.Finding')]
    [OutputType([bool])]
    param(
        [Parameter(Position = 0, ValueFromPipelineByPropertyName = $true)] [ValidateNotNullOrEmpty()] [string] $ParentName,
        [switch] $Quiet
    )
    process {
        $answer = Invoke-Verb $PSCmdlet (Get-DoctorWords $ParentName) $ParentName
        if (-not $answer) { return }
        if ($Quiet) { $answer.Json.healthy }
        else { Add-TypeName $answer.Json.findings 'Finding' }
    }
}

# What is left after a repair of these findings is an error of each.
function Write-LeftFinding($Cmdlet, $Findings) {
    foreach ($left in $Findings) {
        $meaning = "$($left.name) on $($left.where) is left: $($left.detail)"
        $Cmdlet.WriteError((New-OwnError $left.name $meaning $script:ExitStatus.Findings $left (@($left.commands) -join '; ')))
    }
}

# What is done about the findings with these names (without any: all) on one parent, or everywhere. The answer of the doctor to it.
function Invoke-Repair($Cmdlet, [string] $ParentName, [string[]] $Names, [int] $Wait) {
    $answer = Invoke-Verb $Cmdlet (Get-DoctorWords $ParentName) $ParentName
    if (-not $answer) { return }
    $mendable = @(Select-Finding $answer.Json.findings $Names | Where-Object { @($_.steps).Count -gt 0 })
    if ($mendable.Count -eq 0) { return $answer }
    $what = @($mendable | ForEach-Object { "$($_.name) on $($_.where): $($_.repair)" })
    if (-not (Confirm-Change $Cmdlet $what @('Connections over these adapters may be interrupted'))) { return }
    $repair = if ($Names) { Get-Option 'repair' $Names } else { '--repair' }
    Invoke-Verb $Cmdlet ((Get-DoctorWords $ParentName) + @('--yes', "--wait=$Wait") + $repair) $ParentName
}

# Where the doctor is to mend a finding: the adapter or team that it is about. What is about none ('') can only be named.
function Get-FindingPlace($Finding, [string[]] $ParentKeys) {
    if ($Finding.parentKey) { return $Finding.parentKey }
    if ($ParentKeys -contains $Finding.key) { return $Finding.key }
    ''
}

# Names of findings by place, to be mended one place after the other.
function Get-RepairRequest($Cmdlet, $Findings) {
    if (@($Findings).Count -eq 0) { return }
    $answer = Invoke-Verb $Cmdlet @('parents', '--all', '--json') $null
    if (-not $answer) { return }
    $keys = @($answer.Json | ForEach-Object { $_.key })
    foreach ($group in $Findings | Group-Object -Property { Get-FindingPlace $_ $keys }) {
        [pscustomobject]@{ ParentName = $group.Name; Names = @($group.Group | ForEach-Object { $_.name } | Select-Object -Unique) }
    }
}

function Select-Finding($Findings, [string[]] $Names) {
    $Findings | Where-Object { -not $Names -or $Names -contains $_.name }
}

# What was mended, what has failed, and what is left.
function Write-Repair($Cmdlet, $Answer, $Request, [bool] $PassThru) {
    $report = $Answer.Json
    if (Test-Member $report 'mended') { # else there was nothing to mend
        if ($report.restartNeeded) { Write-RestartWarning $Cmdlet }
        if ($PassThru) { Add-TypeName $report.mended 'Finding' }
        foreach ($step in $report.failed) {
            $Cmdlet.WriteError((New-OwnError 'stepFailed' "failed to $step" $Answer.ExitStatus $Request.ParentName))
        }
    }
    Write-LeftFinding $Cmdlet (Select-Finding $report.findings $Request.Names)
}

function Repair-VlanHost {
    <#
    .SYNOPSIS
    Mends what is wrong with the VLANs of the machine.
    .DESCRIPTION
    What only the administrator can decide is left, with the commands that decide it, and is an error. Findings that come through
    the pipeline are mended on their own adapter or team alone.
    .PARAMETER Name
    Only findings with these names.
    .PARAMETER ParentName
    Only what concerns this adapter or team and its VLANs: display name, instance number or key.
    .PARAMETER InputObject
    A finding of Test-VlanHost.
    .PARAMETER Wait
    Seconds to wait for the configuration lock.
    .PARAMETER PassThru
    Returns what was mended.
    .EXAMPLE
    Repair-VlanHost -WhatIf
    .EXAMPLE
    Repair-VlanHost -Name binding-list, not-bound -Confirm:$false -PassThru
    .EXAMPLE
    Test-VlanHost | Where-Object Where -eq 'Port A' | Repair-VlanHost
    .OUTPUTS
    VlanAgent.Finding with -PassThru; nothing without it.
    #>
    [CmdletBinding(SupportsShouldProcess = $true, ConfirmImpact = 'High', DefaultParameterSetName = 'Named')]
    [OutputType('VlanAgent.Finding')]
    param(
        [Parameter(Position = 0, ParameterSetName = 'Named')] [ValidateNotNullOrEmpty()] [string[]] $Name,
        [Parameter(ParameterSetName = 'Named')] [ValidateNotNullOrEmpty()] [string] $ParentName,
        [Parameter(Mandatory = $true, ValueFromPipeline = $true, ParameterSetName = 'Found')]
        [PSTypeName('VlanAgent.Finding')] [psobject] $InputObject,
        [ValidateRange(0, 3600)] [int] $Wait = 10,
        [switch] $PassThru
    )
    begin { $findings = $requests = @() }
    process { # which an empty pipeline does not come to: nothing is mended then
        if ($PSCmdlet.ParameterSetName -eq 'Found') { $findings += $InputObject }
        else { $requests += [pscustomobject]@{ ParentName = $ParentName; Names = @($Name | Where-Object { $_ }) } }
    }
    end {
        $requests += @(Get-RepairRequest $PSCmdlet $findings)
        foreach ($request in $requests) {
            $answer = Invoke-Repair $PSCmdlet $request.ParentName $request.Names $Wait
            if ($answer) { Write-Repair $PSCmdlet $answer $request $PassThru }
        }
    }
}
