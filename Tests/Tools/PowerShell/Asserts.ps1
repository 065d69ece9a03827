# What the tests of the module have in common.
Set-StrictMode -Version 2
$ErrorActionPreference = 'Stop' # what is not expected ends the test; the module's own errors are told all the same
$script:faults = 0

function Assert-Same([string] $What, $Expected, $Actual) {
    if ("$Expected" -ceq "$Actual") { return }
    $script:faults++
    Write-Host "$What`n  expected: $Expected`n  actual:   $Actual"
}

# What a script block writes of each kind: "result E:id:category W".
function Get-Outcome([scriptblock] $Block) {
    $all = @(try { & $Block *>&1 } catch { $_ })
    ($all | ForEach-Object {
        if ($_ -is [System.Management.Automation.ErrorRecord]) { "E:$(($_.FullyQualifiedErrorId -split ',')[0]):$($_.CategoryInfo.Category)" }
        elseif ($_ -is [System.Management.Automation.WarningRecord]) { 'W' }
        elseif ($_ -is [System.Management.Automation.InformationRecord]) { 'I' }
        elseif (@($_.PSObject.TypeNames)[0] -like 'VlanAgent.*Vlan') { "$($_.id):$($_.name)" }
        else { "$_" }
    }) -join ' '
}

function Complete-Test {
    if ($script:faults) { Write-Host "$script:faults faults" }
    exit ([int]($script:faults -gt 0))
}
