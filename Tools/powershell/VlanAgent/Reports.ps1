# What the verbs that change something answer: one object with errors, warnings and steps.

# The words of a verb that changes something: what it does was agreed to, or is only to be told. Behind "--" are names alone.
function Get-ChangeWords($Change, [bool] $DryRun) {
    $deed = if ($DryRun) { '--dry-run' } else { '--yes' }
    @($Change.Verb) + $Change.Options + @('--json', $deed, "--wait=$($Change.Wait)", '--') + $Change.Names
}

function New-Change([string] $Verb, [int] $Wait, [string[]] $Options, [string[]] $Names) {
    [pscustomobject]@{ Verb = $Verb; Wait = $Wait; Options = @($Options); Names = @(if ($Names) { $Names }) }
}

function Write-StepError($Cmdlet, $Step, [int] $ExitStatus) {
    $name = 'step' + $Step.state.Substring(0, 1).ToUpperInvariant() + $Step.state.Substring(1)
    $Cmdlet.WriteError((New-OwnError $name "$(Get-StepText $Step): $($Step.reason)" $ExitStatus $Step))
}

# Errors, warnings and failed steps of a report, as a cmdlet tells them.
function Write-Report($Cmdlet, $Report, $Target) {
    foreach ($warning in $Report.warnings) {
        $text = $warning.meaning
        if ($warning.advice) { $text += '. ' + $warning.advice }
        $Cmdlet.WriteWarning($text)
    }
    foreach ($fault in $Report.errors) { $Cmdlet.WriteError((New-VlanctlError $fault $Report.exitStatus $Target)) }
    foreach ($step in $Report.steps) {
        if ($step.reason -or $step.state -eq 'failed') { Write-StepError $Cmdlet $step $Report.exitStatus }
    }
    if ($Report.restartNeeded) { Write-RestartWarning $Cmdlet }
}

function Write-RestartWarning($Cmdlet) {
    $Cmdlet.WriteWarning('the system has to be restarted for what was done to take full effect')
}

# What a change would do and cost; nothing when it is refused as a whole, which is told.
function Get-ChangePlan($Cmdlet, $Change, $Target) {
    $answer = Invoke-Verb $Cmdlet (Get-ChangeWords $Change $true) $Target
    if (-not $answer) { return }
    $report = $answer.Json
    $isRefused = @($report.steps).Count -gt 0 -and -not @($report.steps | Where-Object { $_.state -ne 'refused' })
    if ($isRefused -or @($report.errors).Count -gt 0) {
        Write-Report $Cmdlet $report $Target
        return
    }
    $report
}

# How a step is told: "rename 10 Sales on Port A: name Sales -> Voice".
function Get-StepText($Step) {
    $id = if ($Step.id -eq 0) { 'untagged' } else { $Step.id }
    $text = (@($Step.action, $id, $Step.name, 'on', $Step.parentName) | Where-Object { "$_" -ne '' }) -join ' '
    foreach ($change in $Step.changes) {
        $what = if (Test-Member $change 'setting') { $change.setting } else { $change.property }
        $text += ": $what $($change.was) -> $($change.is)"
    }
    $text
}

# What somebody has answered for all that follows in one pipeline.
function New-Consent {
    [pscustomobject]@{ YesToAll = $false; NoToAll = $false }
}

# Whether to go on. A cmdlet whose impact is High whatever it does asks by itself, and has no consent to keep; that of another one
# is High where something is lost.
function Confirm-Change($Cmdlet, [string[]] $What, [string[]] $Costs, $Consent) {
    $text = (@($What) + @($Costs | Where-Object { $_ })) -join "`n"
    $question = "$text`nGo on?"
    if (-not $Cmdlet.ShouldProcess($text, $question, 'vlanctl')) { return $false }
    if ($null -eq $Consent -or -not $Costs -or $ConfirmPreference -ne 'High') { return $true } # asked, or not to be
    $yesToAll = $Consent.YesToAll
    $noToAll = $Consent.NoToAll
    $answer = $Cmdlet.ShouldContinue($question, 'vlanctl', [ref]$yesToAll, [ref]$noToAll)
    $Consent.YesToAll = $yesToAll
    $Consent.NoToAll = $noToAll
    $answer
}

# Those of the changes that there is something to do for, with their plans; nothing, and the errors are told, when one is refused.
function Get-PendingChange($Cmdlet, $Changes, $Target) {
    $pending = @()
    foreach ($change in $Changes) {
        $plan = Get-ChangePlan $Cmdlet $change $Target
        if (-not $plan) { return }
        $steps = @($plan.steps | Where-Object { $_.state -eq 'planned' })
        # Another change may come before it, and give the VLAN another name.
        if ($steps.Count -gt 0 -and @($Changes).Count -gt 1) { $change.Names[0] = $steps[0].key }
        $pending += [pscustomobject]@{ Change = $change; Plan = $plan; Steps = $steps }
    }
    $pending
}

# Changes that belong together: all are planned, what they cost is told with the question, and they are done one after the other
# when that is agreed to. Nothing is done when one of them is refused. The reports of what was done are returned, up to the first
# failure.
function Invoke-Change($Cmdlet, $Changes, $Target, $Consent) {
    $planned = @(Get-PendingChange $Cmdlet $Changes $Target)
    $pending = @($planned | Where-Object { $_.Steps.Count -gt 0 })
    if ($pending.Count -eq 0) {
        foreach ($one in $planned) { Write-Report $Cmdlet $one.Plan $Target }
        return $planned | ForEach-Object { $_.Plan }
    }
    $what = @($pending | ForEach-Object { $_.Steps } | ForEach-Object { Get-StepText $_ })
    $costs = @($pending | ForEach-Object { $_.Plan.warnings } | ForEach-Object { $_.meaning } | Select-Object -Unique)
    if (-not (Confirm-Change $Cmdlet $what $costs $Consent)) { return }
    foreach ($one in $pending) {
        $answer = Invoke-Verb $Cmdlet (Get-ChangeWords $one.Change $false) $Target
        if (-not $answer) { return }
        Write-Report $Cmdlet $answer.Json $Target
        $answer.Json
        if ($answer.Json.exitStatus -notin $script:ExitStatus.Done, $script:ExitStatus.Restart) { return }
    }
}
