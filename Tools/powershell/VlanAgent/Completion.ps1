# Names for whoever presses Tab. What cannot be asked offers nothing.

function Get-CompletionResult([string[]] $Names, [string] $Word) {
    $begin = $Word.Trim("'", '"')
    foreach ($name in $Names | Select-Object -Unique) {
        if (-not $name.StartsWith($begin, [StringComparison]::OrdinalIgnoreCase)) { continue }
        $text = if ($name -match '^[\w-]+$') { $name } else { "'" + $name.Replace("'", "''") + "'" }
        New-Object System.Management.Automation.CompletionResult $text, $name, 'ParameterValue', $name
    }
}

function Get-CompletionAnswer([string[]] $Words) {
    try {
        $answer = Invoke-Vlanctl $Words
        if (-not (Test-Member $answer.Json 'error')) { return $answer.Json }
    }
    catch { Write-Debug $_.Exception.Message }
}

# The settings of the VLAN that the command line names already.
function Get-CompletionSetting($Bound) {
    if ($Bound.ContainsKey('Key')) { Get-CompletionAnswer @('settings', '--json', '--', @($Bound['Key'])[0]) }
}

$completeParent = {
    param($commandName, $parameterName, $wordToComplete)
    Get-CompletionResult @(Get-CompletionAnswer @('parents', '--all', '--json') | ForEach-Object { $_.name }) $wordToComplete
}
$completeVlan = {
    param($commandName, $parameterName, $wordToComplete)
    $vlans = @(Get-CompletionAnswer @('list', '--json'))
    $alone = @($vlans | Group-Object -Property name | Where-Object { $_.Count -eq 1 } | ForEach-Object { $_.Name })
    Get-CompletionResult ($alone + @($vlans | ForEach-Object { Get-Place $_ })) $wordToComplete
}
$completeVlanName = {
    param($commandName, $parameterName, $wordToComplete)
    Get-CompletionResult @(Get-CompletionAnswer @('list', '--json') | ForEach-Object { $_.name }) $wordToComplete
}
$completeStatus = {
    param($commandName, $parameterName, $wordToComplete)
    Get-CompletionResult @('loaded', 'notLoaded', 'disabled', 'unknown', 'damaged') $wordToComplete
}
$completeFinding = {
    param($commandName, $parameterName, $wordToComplete)
    $answer = Get-CompletionAnswer @('doctor', '--json')
    if ($answer) { Get-CompletionResult @($answer.findings | ForEach-Object { $_.name }) $wordToComplete }
}
$completeSetting = {
    param($commandName, $parameterName, $wordToComplete, $commandAst, $bound)
    Get-CompletionResult @(Get-CompletionSetting $bound | ForEach-Object { $_.name.TrimStart('*') }) $wordToComplete
}
$completeValue = {
    param($commandName, $parameterName, $wordToComplete, $commandAst, $bound)
    if (-not $bound.ContainsKey('Name')) { return }
    $setting = Get-CompletionSetting $bound | Where-Object { Test-SettingName $_ $bound['Name'] } | Select-Object -First 1
    if (Test-Member $setting 'choices') { Get-CompletionResult @($setting.choices | ForEach-Object { $_.text }) $wordToComplete }
}

$withParent = 'Get-Vlan', 'New-Vlan', 'Test-Vlan', 'Test-VlanHost', 'Repair-VlanHost', 'Export-VlanConfiguration',
    'Compare-VlanConfiguration', 'Set-VlanConfiguration'
$withVlan = 'Set-Vlan', 'Remove-Vlan', 'Restart-Vlan', 'Get-VlanSetting', 'Set-VlanSetting', 'Reset-VlanSetting'
$withSetting = 'Get-VlanSetting', 'Set-VlanSetting', 'Reset-VlanSetting'
Register-ArgumentCompleter -CommandName $withParent -ParameterName ParentName -ScriptBlock $completeParent
Register-ArgumentCompleter -CommandName Get-VlanParent -ParameterName Name -ScriptBlock $completeParent
Register-ArgumentCompleter -CommandName Get-Vlan -ParameterName Name -ScriptBlock $completeVlanName
Register-ArgumentCompleter -CommandName Get-Vlan -ParameterName Status -ScriptBlock $completeStatus
Register-ArgumentCompleter -CommandName Repair-VlanHost -ParameterName Name -ScriptBlock $completeFinding
Register-ArgumentCompleter -CommandName $withVlan -ParameterName Key -ScriptBlock $completeVlan
Register-ArgumentCompleter -CommandName $withSetting -ParameterName Name -ScriptBlock $completeSetting
Register-ArgumentCompleter -CommandName Set-VlanSetting -ParameterName Value -ScriptBlock $completeValue
