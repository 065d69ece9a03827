# What the verbs that change something answer: one object with errors, warnings and steps.

# The words of a verb that changes something: what it does was agreed to, or is only to be told.
function Get-ChangeWords([string[]] $Words, [bool] $DryRun, [int] $Wait) {
    $Words + @('--json') + $(if ($DryRun) { '--dry-run' } else { '--yes' }) + @('--wait', "$Wait")
}

# Errors, warnings and failed steps of a report, as a cmdlet tells them.
function Write-Report($Cmdlet, $Answer, $Target) {
    $report = $Answer.Json
    foreach ($warning in $report.warnings) {
        $text = $warning.meaning
        if ($warning.advice) { $text += '. ' + $warning.advice }
        $Cmdlet.WriteWarning($text)
    }
    foreach ($fault in $report.errors) { $Cmdlet.WriteError((New-VlanctlError $fault $Answer.ExitStatus $Target)) }
    foreach ($step in $report.steps) {
        if ($step.state -notin 'failed', 'refused' -and -not $step.reason) { continue }
        $fault = [pscustomobject]@{
            name = 'step' + $step.state.Substring(0, 1).ToUpperInvariant() + $step.state.Substring(1); code = ''; advice = ''
            meaning = "$($step.action) $($step.id) $($step.name) on $($step.parentName): $($step.reason)"
        }
        $Cmdlet.WriteError((New-VlanctlError $fault $Answer.ExitStatus $step))
    }
    if ($report.restartNeeded) {
        $Cmdlet.WriteWarning('a restart of the system is needed for what was done to take full effect')
    }
}

# What a change would do and cost, in one text for -WhatIf and -Confirm; $null when it is refused, which is told.
function Get-ChangePlan($Cmdlet, [string[]] $Words, [int] $Wait, $Target) {
    $answer = Invoke-Verb $Cmdlet (Get-ChangeWords $Words $true $Wait) $Target
    if (-not $answer) { return }
    $report = $answer.Json
    $refused = @($report.steps | Where-Object { $_.state -eq 'refused' })
    if (@($report.errors).Count -gt 0 -or ($refused.Count -gt 0 -and $refused.Count -eq @($report.steps).Count)) {
        Write-Report $Cmdlet $answer $Target
        return
    }
    $report
}

# How a step is told before it is done: "rename 10 Sales on Port A: name Sales -> Voice".
function Get-StepText($Step) {
    $id = if ($Step.id -eq 0) { 'untagged' } else { $Step.id }
    $text = (@($Step.action, $id, $Step.name, 'on', $Step.parentName) | Where-Object { "$_" -ne '' }) -join ' '
    foreach ($change in $Step.changes) {
        $what = if (Test-Member $change 'setting') { $change.setting } else { $change.property }
        $text += ": $what $($change.was) -> $($change.is)"
    }
    $text
}

function Test-IsGrave($Report) {
    [bool]@($Report.warnings | Where-Object { $_.name -eq 'connectionsAreCut' }).Count
}

# The whole of a change: it is planned, what it costs is told with the question, and done when that is agreed to. The report of
# what was done is returned.
function Invoke-Change($Cmdlet, [string[]] $Words, [int] $Wait, $Target) {
    $plan = Get-ChangePlan $Cmdlet $Words $Wait $Target
    if (-not $plan) { return }
    $steps = @($plan.steps | Where-Object { $_.state -eq 'planned' })
    if ($steps.Count -eq 0) {
        Write-Report $Cmdlet ([pscustomobject]@{ ExitStatus = $plan.exitStatus; Json = $plan }) $Target
        return $plan
    }
    $what = ($steps | ForEach-Object { Get-StepText $_ }) -join "`n"
    $costs = ($plan.warnings | ForEach-Object { $_.meaning }) -join "`n"
    $question = if ($costs) { "$what`n$costs" } else { $what }
    if (-not $Cmdlet.ShouldProcess($question, "$question`nGo on?", 'vlanctl')) { return }
    $answer = Invoke-Verb $Cmdlet (Get-ChangeWords $Words $false $Wait) $Target
    if (-not $answer) { return }
    Write-Report $Cmdlet $answer $Target
    $answer.Json
}

# One VLAN as it is now, whatever it is called by.
function Get-NamedVlan($Cmdlet, [string] $Vlan) {
    $answer = Invoke-Verb $Cmdlet @('show', $Vlan, '--json') $Vlan
    if ($answer) { Add-TypeName ($answer.Json | Select-Object -Property * -ExcludeProperty settings) 'Vlan' }
}

# The VLANs of the steps that were done, or had been before, as they are now.
function Get-ChangedVlan($Cmdlet, $Report) {
    $keys = @($Report.steps | Where-Object { $_.state -in 'done', 'isThere' } | ForEach-Object { $_.key } | Select-Object -Unique)
    if ($keys.Count -eq 0) { return }
    $answer = Invoke-Verb $Cmdlet @('list', '--json') $null
    if (-not $answer) { return }
    Add-TypeName @($answer.Json | Where-Object { $keys -contains $_.key }) 'Vlan'
}
