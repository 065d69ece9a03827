# Names for whoever presses Tab. What cannot be asked offers nothing.

function Get-CompletionResult([string[]] $Names, [string] $Word) {
    foreach ($name in $Names) {
        if ($name -notlike ([WildcardPattern]::Escape($Word.Trim("'", '"')) + '*')) { continue }
        $text = if ($name -match '^[\w-]+$') { $name } else { "'" + $name.Replace("'", "''") + "'" }
        New-Object System.Management.Automation.CompletionResult $text, $name, 'ParameterValue', $name
    }
}

function Get-CompletionNames([string[]] $Words) {
    try {
        $answer = Invoke-Vlanctl $Words
        if ($answer.ExitStatus -eq 0) { return $answer.Json }
    }
    catch { Write-Debug $_.Exception.Message }
}

$completeParent = {
    param($commandName, $parameterName, $wordToComplete)
    Get-CompletionResult @(Get-CompletionNames @('parents', '--all', '--json') | ForEach-Object { $_.name }) $wordToComplete
}
$completeVlan = {
    param($commandName, $parameterName, $wordToComplete)
    $vlans = @(Get-CompletionNames @('list', '--json'))
    $alone = @($vlans | Group-Object -Property name | Where-Object { $_.Count -eq 1 } | ForEach-Object { $_.Name })
    $places = @($vlans | ForEach-Object { "$($_.parentName)/$($_.id)" })
    Get-CompletionResult ($alone + $places) $wordToComplete
}
$completeVlanName = {
    param($commandName, $parameterName, $wordToComplete)
    Get-CompletionResult @(Get-CompletionNames @('list', '--json') | ForEach-Object { $_.name } | Select-Object -Unique) $wordToComplete
}
$completeSetting = {
    param($commandName, $parameterName, $wordToComplete, $commandAst, $bound)
    if (-not $bound.ContainsKey('Key')) { return }
    Get-CompletionResult @(Get-CompletionNames @('settings', $bound['Key'], '--json') | ForEach-Object { $_.name.TrimStart('*') }) $wordToComplete
}

$withParent = 'Get-Vlan', 'New-Vlan', 'Test-Vlan', 'Test-VlanHost', 'Repair-VlanHost', 'Export-VlanConfiguration', 'Compare-VlanConfiguration', 'Set-VlanConfiguration'
$withVlan = 'Set-Vlan', 'Remove-Vlan', 'Restart-Vlan', 'Get-VlanSetting', 'Set-VlanSetting', 'Reset-VlanSetting'
$withSetting = 'Get-VlanSetting', 'Set-VlanSetting', 'Reset-VlanSetting'
Register-ArgumentCompleter -CommandName $withParent -ParameterName ParentName -ScriptBlock $completeParent
Register-ArgumentCompleter -CommandName Get-VlanParent -ParameterName Name -ScriptBlock $completeParent
Register-ArgumentCompleter -CommandName Get-Vlan -ParameterName Name -ScriptBlock $completeVlanName
Register-ArgumentCompleter -CommandName $withVlan -ParameterName Key -ScriptBlock $completeVlan
Register-ArgumentCompleter -CommandName $withSetting -ParameterName Name -ScriptBlock $completeSetting
