# The PowerShell module by itself: what it is written in, what it says about itself, and how it runs a program.
param([string] $Module, [string] $Version)
. (Join-Path $PSScriptRoot 'Asserts.ps1')

# The syntax is that of Windows PowerShell 5.1, too: nothing that only later ones can read.
$later = 'QuestionQuestion', 'QuestionQuestionEquals', 'QuestionDot', 'QuestionLBracket', 'AndAnd', 'OrOr'
function Get-LaterSyntax($Ast, $Tokens) {
    $nodes = $Ast.FindAll({ param($node) $node.GetType().Name -in 'TernaryExpressionAst', 'PipelineChainAst' }, $true)
    $nodes | ForEach-Object { $_.GetType().Name }
    $Ast.FindAll({ param($node) $node.GetType().Name -eq 'NamedBlockAst' -and "$($node.BlockKind)" -eq 'Clean' }, $true) |
        ForEach-Object { 'clean' }
    $Ast.FindAll({ param($node) $node -is [System.Management.Automation.Language.CommandParameterAst] -and
            $node.ParameterName -in 'Parallel', 'AsHashtable', 'AsByteStream', 'AsArray', 'Depth', 'AsUTC' }, $true) |
        ForEach-Object { $_.ParameterName }
    $Tokens | ForEach-Object { "$($_.Kind)" } | Where-Object { $_ -in $later }
}
function Get-Parsed([string] $Text) {
    $tokens = $errors = $null
    $ast = [System.Management.Automation.Language.Parser]::ParseInput($Text, [ref]$tokens, [ref]$errors)
    (@(Get-LaterSyntax $ast $tokens) + @($errors | ForEach-Object { $_.Message })) -join ' '
}
Assert-Same 'What is later is found' 'TernaryExpressionAst QuestionQuestion' (Get-Parsed '$a = $b ? 1 : ($c ?? 2)')
$sample = 'function f { process { a && b; 1 | % -Parallel { 2 } } clean { } }'
Assert-Same 'What is later is found' 'PipelineChainAst clean Parallel AndAnd' (Get-Parsed $sample)
foreach ($file in Get-ChildItem -Path $Module -Filter '*.ps*1') {
    $text = Get-Content -Raw $file.FullName
    Assert-Same "$($file.Name) has nothing of later versions" '' (Get-Parsed $text)
    Assert-Same "$($file.Name) is ASCII, which no edition takes for something else" $false ($text -match '[^\x00-\x7F]')
}

$manifest = Test-ModuleManifest (Join-Path $Module 'VlanAgent.psd1')
Assert-Same 'The version of the module' $Version $manifest.Version
Import-Module (Join-Path $Module 'VlanAgent.psd1') -ErrorAction Stop
Assert-Same 'What is announced is there' ($manifest.ExportedFunctions.Keys | Sort-Object) ((Get-Command -Module VlanAgent).Name | Sort-Object)
$known = [System.Management.Automation.PSCmdlet]::CommonParameters + [System.Management.Automation.PSCmdlet]::OptionalCommonParameters
foreach ($command in Get-Command -Module VlanAgent) {
    $help = Get-Help $command.Name -Full
    $told = @($help.parameters.parameter | Where-Object { $null -ne $_ -and $null -ne $_.PSObject.Properties['description'] } |
            ForEach-Object { $_.name })
    $untold = @($command.Parameters.Keys | Where-Object { $_ -notin $known -and $_ -notin $told })
    Assert-Same "$command tells what it does" $false ($help.Synopsis -like "*$($command.Name)*")
    Assert-Same "$command tells of all its parameters" '' $untold
    Assert-Same "$command has examples" $true ($null -ne $help.PSObject.Properties['examples'] -and $null -ne $help.examples)
    if ($command.Verb -in 'New', 'Set', 'Remove', 'Restart', 'Reset', 'Repair', 'Confirm') {
        Assert-Same "$command asks" $true $command.Parameters.ContainsKey('WhatIf')
    }
}

# Which program is run, and how words reach it.
$inside = Get-Module VlanAgent
$folder = $env:VLANAGENT_TEST
Assert-Same 'The one in the path' "$folder/vlanctl" (& $inside { Find-Vlanctl })
$env:VLANCTL = "$folder/echo"
Assert-Same 'The one that is named' "$folder/echo" (& $inside { Find-Vlanctl })
$words = '', 'a b', 'a"b', 'a\', 'a b\', 'a\\"b c\\', '"', "O'Hara & Co|%x%", '*.json',
    ('B{0}ro {1}' -f [char]0xFC, [char]0x2603), "tab`there"
$echoed = & $inside { param($words) (Invoke-Vlanctl $words).Json } $words
Assert-Same 'Words arrive as they are' ($words -join '<>') ($echoed -join '<>')

# What a host answers at worst.
$env:VLANCTL = "$folder/answer"
$step = '"id": 12, "name": "Lab", "action": "create", "parentName": "Port A", "key": "", "changes": []'
'{"exitStatus": 0, "errors": [], "warnings": [], "restartNeeded": false, "steps": [{' + $step + ', "state": "planned", "reason": ""}]}' |
    Set-Content "$folder/plan"
$report = '{{"exitStatus": {0}, "errors": [{1}], "warnings": [], "restartNeeded": {2}, "steps": [{{' + $step +
    ', "state": "{3}", "reason": "{4}"}}]}}'
$answers = @(
    @(5, '{"exitStatus": 5, "error": {"name": "locked", "code": "", "number": 0, "meaning": "held", "advice": ""}}', 'E:locked:ResourceBusy'),
    @(5, ($report -f 5, '', 'false', 'failed', 'locked by another program'), 'E:stepFailed:ResourceBusy'),
    @(4, ($report -f 4, '{"name": "interrupted", "code": "", "meaning": "interrupted", "advice": ""}', 'false', 'notReached', ''),
        'E:interrupted:OperationStopped'),
    @(6, ($report -f 6, '', 'true', 'done', ''), 'W'),
    @(3, '', 'E:noAnswer:ResourceUnavailable'),
    @(139, '', 'E:noAnswer:InvalidOperation'),
    @(1, 'Segmentation fault', 'E:System.ArgumentException:NotSpecified')
)
foreach ($case in $answers) {
    $case[0] | Set-Content "$folder/status"
    $case[1] | Set-Content "$folder/done"
    Assert-Same $case[1] $case[2] (Get-Outcome { New-Vlan 'Port A' 12 Lab })
}
$shell = [powershell]::Create()
$null = $shell.AddScript('param($module) Import-Module $module; New-Vlan "Port A" 12').AddArgument($Module).Invoke()
$progress = $shell.Streams.Progress | Where-Object PercentComplete -ge 0 | Select-Object -First 1
Assert-Same 'Progress' '3 of 40: create 12 Lab on Port A (5 %)' (
    "$($progress.StatusDescription): $($progress.CurrentOperation) ($($progress.PercentComplete) %)")
$shell.Dispose()

$env:VLANCTL = '/nowhere/vlanctl'
Assert-Same 'No vlanctl where it is named' 'E:vlanctlNotFound:ObjectNotFound' (Get-Outcome { Get-Vlan })
Remove-Item env:VLANCTL
$release = Join-Path $folder 'release'
$null = New-Item -ItemType Directory "$release/bin", "$release/powershell"
Copy-Item -Recurse $Module "$release/powershell/VlanAgent"
$null = New-Item -ItemType File "$release/bin/vlanctl.exe"
Remove-Module VlanAgent
Import-Module "$release/powershell/VlanAgent"
$env:PATH, $path = '/nowhere', $env:PATH
Assert-Same 'The one that was installed with it' "$release/bin/vlanctl.exe" (& (Get-Module VlanAgent) { Find-Vlanctl })
$env:PATH = $path
Complete-Test
