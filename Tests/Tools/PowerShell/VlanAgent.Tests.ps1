# The PowerShell module on a host of the lab, as an administrator uses it.
param([string] $Root)
Set-StrictMode -Version 2
$ErrorActionPreference = 'Continue'
$script:faults = 0
$module = Join-Path $Root 'Tools/powershell/VlanAgent'

function Assert-Same([string] $What, $Expected, $Actual) {
    if ("$Expected" -ceq "$Actual") { return }
    $script:faults++
    Write-Host "$What`n  expected: $Expected`n  actual:   $Actual"
}

# What a script block writes of each kind: "result | error id:category | warning".
function Get-Outcome([scriptblock] $Block) {
    $all = @(& $Block *>&1)
    ($all | ForEach-Object {
        if ($_ -is [System.Management.Automation.ErrorRecord]) { "E:$(($_.FullyQualifiedErrorId -split ',')[0]):$($_.CategoryInfo.Category)" }
        elseif ($_ -is [System.Management.Automation.WarningRecord]) { 'W' }
        elseif ($_ -is [System.Management.Automation.InformationRecord]) { 'I' }
        elseif (@($_.PSObject.TypeNames)[0] -like 'VlanAgent.*') { "$($_.id):$($_.name)" }
        else { "$_" }
    }) -join ' '
}

# The syntax is that of Windows PowerShell 5.1, too: nothing that only later ones can read.
foreach ($file in Get-ChildItem -Path $module -Filter '*.ps*1') {
    $tokens = $errors = $null
    $ast = [System.Management.Automation.Language.Parser]::ParseFile($file.FullName, [ref]$tokens, [ref]$errors)
    Assert-Same "$($file.Name) can be read" 0 @($errors).Count
    $later = $ast.FindAll({ param($node) $node.GetType().Name -in 'TernaryExpressionAst', 'PipelineChainAst' -or
            ($node.GetType().Name -eq 'NamedBlockAst' -and "$($node.BlockKind)" -eq 'Clean') }, $true)
    $marks = @($tokens | Where-Object { "$($_.Kind)" -in 'QuestionQuestion', 'QuestionQuestionEquals', 'QuestionDot', 'QuestionLBracket', 'AndAnd', 'OrOr' })
    Assert-Same "$($file.Name) has nothing of later versions" 0 (@($later).Count + $marks.Count)
    Assert-Same "$($file.Name) is ASCII, which no edition takes for something else" $false ((Get-Content -Raw $file.FullName) -match '[^\x00-\x7F]')
}

Import-Module (Join-Path $module 'VlanAgent.psd1') -ErrorAction Stop
foreach ($command in Get-Command -Module VlanAgent) {
    $help = Get-Help $command.Name
    Assert-Same "$command has help with an example" $true (($help.Synopsis -notlike "*$($command.Name) *``[*") -and (Test-Path variable:help) -and
        $null -ne $help.PSObject.Properties['examples'] -and $null -ne $help.examples)
}

# What is asked, and all that comes of it: objects, errors with id and category, warnings.
$cases = @(
    @({ Get-Vlan -ParentName 'Port A' }, ('10:Sales 20:B{0}ro' -f [char]0xFC)),
    @({ Get-Vlan -Name 'S*' }, '10:Sales 30:Storage'),
    @({ Get-Vlan -Id 0 | Select-Object -ExpandProperty ParentName }, 'Port B Team 2'),
    @({ (Get-Vlan Backup).members.name }, 'Port G Port H'),
    @({ Get-Vlan -ParentName nowhere }, 'E:unknownName:ObjectNotFound'),
    @({ Get-VlanParent | Where-Object name -like 'Team*' | Get-Vlan | Measure-Object | ForEach-Object Count }, '4'),
    @({ Test-Vlan 'Port A' 30 Lab }, 'True'),
    @({ Test-Vlan 'Port A' 10 Lab }, 'False'),
    @({ (Test-Vlan 'Port A' 10, 4095 -Detailed).errors.name }, 'idNotValid idInUse'),
    @({ New-Vlan 'Port A' 10 Lab -Confirm:$false }, 'E:idInUse:ResourceExists'),
    @({ New-Vlan 'Port A' 31 -WhatIf }, ''),
    @({ New-Vlan 'Port A' 31, 32 -Confirm:$false -PassThru }, '31:VLAN31 32:VLAN32'),
    @({ New-Vlan 'Port A' '31=VLAN31' -IfMissing -Confirm:$false -PassThru }, '31:VLAN31'),
    @({ Set-Vlan VLAN31 -Confirm:$false }, 'E:NothingToChange:InvalidArgument'),
    @({ Get-Vlan VLAN31 | Set-Vlan -NewName "O'Hara & Co" -NewId 131 -NewType 1 -Confirm:$false -PassThru }, "W W 131:O'Hara & Co"),
    @({ Set-Vlan 131 -NewName "O'Hara & Co" -Confirm:$false -PassThru }, "131:O'Hara & Co"),
    @({ Restart-Vlan 131 -Confirm:$false -PassThru }, "W 131:O'Hara & Co"),
    @({ Set-VlanSetting 131 NumRssQueues 99 -Confirm:$false }, 'E:settingValue:InvalidArgument'),
    @({ Get-Vlan -Id 32, 131 | Set-VlanSetting -Setting @{ LsoV2IPv4 = 'Disabled'; NumRssQueues = 4 } -Confirm:$false }, 'W W'),
    @({ Get-Vlan -Id 131 | Get-VlanSetting | Where-Object Differs | ForEach-Object { "$($_.name)=$($_.value)" } }, '*LsoV2IPv4=0 *NumRssQueues=4'),
    @({ Reset-VlanSetting 131 -Confirm:$false }, 'W'),
    @({ Get-VlanSetting 131 NumRss* | ForEach-Object Differs }, 'False'),
    @({ Remove-Vlan 131 -WhatIf }, ''),
    @({ Get-Vlan -Id 32, 131 | Remove-Vlan -Confirm:$false }, ''),
    @({ Remove-Vlan 131 -Confirm:$false }, 'E:unknownName:ObjectNotFound'),
    @({ Remove-Vlan 131 -IfExists -Confirm:$false }, 'W'),
    @({ Test-VlanHost -Quiet }, 'True')
)
foreach ($case in $cases) { Assert-Same $case[0] $case[1] (Get-Outcome $case[0]) }

# A host that is broken, and mended.
& $env:VLANAGENT_LAB $env:VLANAGENT_BIN break binding-list 'Port A' > $null
& $env:VLANAGENT_LAB $env:VLANAGENT_BIN break same-name ('Port B - VLAN : Storage') > $null
Assert-Same 'What is wrong' 'binding-list display-name same-name' ((Test-VlanHost | ForEach-Object name | Sort-Object) -join ' ')
Assert-Same 'Damaged VLANs' 'Port A Port A' ((Get-Vlan -Status damaged -ParentName 'Port A').parentName -join ' ')
Assert-Same 'With -WhatIf nothing is mended' '' (Get-Outcome { Repair-VlanHost -Name binding-list -WhatIf })
Assert-Same 'What was mended' 'binding-list' ((Repair-VlanHost -Name binding-list -Confirm:$false -PassThru).name)
Assert-Same 'What only people can decide is an error' 'E:same-name:InvalidOperation' (Get-Outcome { Repair-VlanHost -Confirm:$false })

# A file, and back to it.
Set-Location ([System.IO.Path]::GetTempPath())
$file = "vlans-$PID.json"
Export-VlanConfiguration $file -ParentName 'Port A', 'Team 1'
Assert-Same 'The object is as the file' ((Get-Content -Raw $file | ConvertFrom-Json).parents.'Port A'.vlans.Count) ((Export-VlanConfiguration -ParentName 'Port A').parents.'Port A'.vlans.Count)
Set-Vlan Sales -NewName Kontor -Confirm:$false
New-Vlan 'Team 1' 90 Lab -Confirm:$false
Assert-Same 'What differs' 'change:Kontor keep:Lab' ((Compare-VlanConfiguration $file | ForEach-Object { "$($_.difference):$($_.name)" }) -join ' ')
Assert-Same 'With -WhatIf nothing is changed' 'False' (Get-Outcome { Set-VlanConfiguration $file -WhatIf; Compare-VlanConfiguration $file -Quiet })
Set-VlanConfiguration $file -Prune -Confirm:$false
Assert-Same 'Nothing differs any more' 'True' (Compare-VlanConfiguration $file -Prune -Quiet)
'{ "parents": { "nowhere": { "vlans": [] } } }' | Set-Content $file
Assert-Same 'A wrong file' 'E:refused:InvalidOperation' (Get-Outcome { Set-VlanConfiguration $file -Confirm:$false })
Remove-Item $file

# Tab
function Get-Completions([string] $Line) { (TabExpansion2 $Line $Line.Length).CompletionMatches.CompletionText -join ' ' }
Assert-Same 'Parents' "'Team 1' 'Team 2'" (Get-Completions 'New-Vlan -ParentName te')
Assert-Same 'VLANs' "Sales" (Get-Completions 'Remove-Vlan Sa')
Assert-Same 'Places' "'Team 1/40' 'Team 1/50'" (Get-Completions "Remove-Vlan 'Team 1")
Assert-Same 'Settings' 'NumRssQueues' (Get-Completions 'Set-VlanSetting Sales Num')
New-Alias vlanctl $env:VLANCTL
& $env:VLANCTL completion powershell | Out-String | Invoke-Expression
Assert-Same 'Words of vlanctl itself' "'Port A/10' 'Port A/20'" (Get-Completions "vlanctl show 'Port A/")
Assert-Same 'Its options' '--if-missing' (Get-Completions 'vlanctl create --if')

# Without the program, or the suite.
$env:VLANCTL, $vlanctl = '/nowhere/vlanctl', $env:VLANCTL
Assert-Same 'No vlanctl' $true ((Get-Outcome { Get-Vlan }) -like 'E:*')
$env:VLANCTL = $vlanctl
& $env:VLANAGENT_LAB $env:VLANAGENT_BIN down > $null
Assert-Same 'No suite' 'E:noSuite:ResourceUnavailable' (Get-Outcome { Get-Vlan })

Write-Host "$script:faults faults"
exit ([int]($script:faults -gt 0))
