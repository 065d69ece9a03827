# The PowerShell module on a host of the lab, as an administrator uses it.
param([string] $Module)
. (Join-Path $PSScriptRoot 'Asserts.ps1')
Import-Module (Join-Path $Module 'VlanAgent.psd1') -ErrorAction Stop
$lab = Join-Path $env:VLANAGENT_TEST 'lab'

# What is asked, and all that comes of it: objects, errors with id and category, warnings.
$buero = 'B{0}ro' -f [char]0xFC
$cases = @(
    @({ Get-Vlan -ParentName 'Port A' }, "10:Sales 20:$buero"),
    @({ Get-Vlan -ParentName 'port ?' -Id 10-30 }, "10:Sales 20:$buero 30:Storage"),
    @({ Get-Vlan 'S*', $buero, Nobody }, "10:Sales 20:$buero 30:Storage E:unknownName:ObjectNotFound"),
    @({ Get-Vlan -Id 0 | Select-Object -ExpandProperty ParentName }, 'Port B Team 2'),
    @({ Get-Vlan -Id 1?, 99 }, '10:Sales E:unknownName:ObjectNotFound'),
    @({ (Get-Vlan Backup).members.name }, 'Port G Port H'),
    @({ Get-Vlan -ParentName nowhere }, 'E:unknownName:ObjectNotFound'),
    @({ Get-VlanParent 'Team*' | Get-Vlan -Status loaded | Measure-Object | ForEach-Object Count }, '4'),
    @({ Get-VlanParent 'port c', nowhere | ForEach-Object supportsVlans }, 'True E:unknownName:ObjectNotFound'),
    @({ Test-Vlan 'Port A' 30 Lab }, 'True'),
    @({ Test-Vlan 'Port A' 10 Lab }, 'False'),
    @({ (Test-Vlan 'Port A' 10, 4095 -Detailed).errors.name }, 'idNotValid idInUse'),
    @({ New-Vlan 'Port A' 10 Lab }, 'E:idInUse:ResourceExists'),
    @({ New-Vlan 'Port A' 31 -WhatIf }, ''),
    # What costs nothing is not asked about; here, where nobody can answer, a question is an error, and nothing is done.
    @({ New-Vlan 'Port A' 31, '32=--help' -PassThru }, '31:VLAN31 32:--help'),
    @({ New-Vlan 'Port C' 33 }, 'E:PSInvalidOperationException:NotSpecified'),
    @({ Restart-Vlan 31 }, 'E:PSInvalidOperationException:NotSpecified'),
    @({ Remove-Vlan 31 }, 'E:PSInvalidOperationException:NotSpecified'),
    @({ Get-Vlan -ParentName 'Port C' }, ''),
    @({ New-Vlan 'Port A' '31=VLAN31' -IfMissing -PassThru }, '31:VLAN31'),
    @({ Set-Vlan VLAN31 }, 'E:usage:InvalidArgument'),
    @({ Set-Vlan VLAN31 -NewId 77 -NewName 'a|b' -Confirm:$false }, 'E:nameCharacter:InvalidArgument'),
    @({ Set-Vlan 31 -NewId 131 -NewType 1 -NewName "O'Hara & Co" -Confirm:$false -PassThru }, "W W 131:O'Hara & Co"),
    @({ Set-Vlan 131 -NewName "O'Hara & Co" -PassThru }, "131:O'Hara & Co"),
    @({ Get-Vlan --help | Set-Vlan -NewName '--all' -PassThru }, '32:--all'),
    @({ Restart-Vlan 'Port A/131' -Confirm:$false -PassThru }, "W 131:O'Hara & Co"),
    @({ Set-VlanSetting 131 NumRssQueues 99 }, 'E:settingValue:InvalidArgument'),
    @({ Get-Vlan -Id 32, 131 | Set-VlanSetting -Setting @{ LsoV2IPv4 = 'Disabled'; NumRssQueues = 4 } -Confirm:$false }, 'W W'),
    @({ Get-VlanSetting 131 | Where-Object Differs | ForEach-Object { "$($_.name)=$($_.value)" } }, '*LsoV2IPv4=0 *NumRssQueues=4'),
    @({ Reset-VlanSetting 131 'Large Send*', NumRssQueues }, 'E:settingUnknown:ObjectNotFound'),
    @({ Reset-VlanSetting 131 NumRssQueues -Confirm:$false -PassThru | ForEach-Object Differs }, 'W False'),
    @({ Get-VlanSetting 'port a/1*' NumRss* | ForEach-Object Vlan | Measure-Object | ForEach-Object Count }, '2'),
    @({ Remove-Vlan 131 -WhatIf }, ''),
    @({ Remove-Vlan '--all' -Confirm:$false -PassThru }, '32:--all'),
    @({ Remove-Vlan '--all' -Confirm:$false }, 'E:unknownName:ObjectNotFound'),
    @({ Get-Vlan -Id 131 | Remove-Vlan -Confirm:$false }, ''),
    @({ Remove-Vlan 131 -IfExists }, 'W'),
    @({ Test-VlanHost -Quiet }, 'True')
)
foreach ($case in $cases) { Assert-Same $case[0] $case[1] (Get-Outcome $case[0]) }

# A host that is broken, and mended.
foreach ($broken in @('binding-list', 'Port A'), @('binding-list', 'Port B'), @('same-name', 'Port B - VLAN : Storage')) {
    & $lab break @broken > $null
}
function Get-Findings { (Test-VlanHost | ForEach-Object { "$($_.name) $($_.where)" } | Sort-Object) -join ', ' }
$left = 'binding-list Port B, display-name Port B - VLAN : Storage, same-name Port B - VLAN : Untagged'
Assert-Same 'What is wrong' "binding-list Port A, $left" (Get-Findings)
Assert-Same 'Damaged VLANs' 'Port A Port A' ((Get-Vlan -Status damaged -ParentName 'Port A').parentName -join ' ')
Assert-Same 'With -WhatIf nothing is mended' '' (Get-Outcome { Repair-VlanHost -Name binding-list -WhatIf })
Assert-Same 'Nor what nobody has named' '' (Get-Outcome { Test-VlanHost | Where-Object name -eq nothing | Repair-VlanHost -Confirm:$false })
$mended = Test-VlanHost 'Port A' | Repair-VlanHost -Confirm:$false -PassThru
Assert-Same 'What was asked for is mended' 'binding-list' $mended.name
Assert-Same 'And nothing else' $left (Get-Findings)
Assert-Same 'What only people can decide is an error' 'E:same-name:InvalidOperation' (Get-Outcome { Repair-VlanHost -Confirm:$false })

# A file, and back to it.
Set-Location $env:VLANAGENT_TEST
$file = 'vlans.json'
Export-VlanConfiguration $file -WhatIf
Assert-Same 'With -WhatIf no file is written' $false (Test-Path $file)
Export-VlanConfiguration $file -ParentName 'Port A', 'Team 1'
$written = (Get-Content -Raw $file | ConvertFrom-Json).parents.'Port A'.vlans.name
Assert-Same 'The object is as the file' $written ((Export-VlanConfiguration -ParentName 'Port A').parents.'Port A'.vlans.name)
Set-Vlan Sales -NewName Kontor
New-Vlan 'Team 1' 90 Lab
$both = @(
    @({ Compare-VlanConfiguration $file | ForEach-Object { "$($_.difference):$($_.name)" } }, 'change:Kontor keep:Lab'),
    @({ Set-VlanConfiguration $file -WhatIf; Compare-VlanConfiguration $file -Quiet }, 'False'),
    @({ Set-VlanConfiguration $file }, 'E:PSInvalidOperationException:NotSpecified'),
    @({ Set-VlanConfiguration $file -ConfirmWithin 120 -Confirm:$false; Get-Vlan -Id 10; Set-VlanConfiguration $file -Prune -Confirm:$false },
        'W 10:Sales E:locked:ResourceBusy'),
    @({ Confirm-VlanConfiguration -RollBack -Confirm:$false | ForEach-Object kept; Get-Vlan -Id 10 }, 'False 10:Kontor'),
    @({ Confirm-VlanConfiguration }, 'E:refused:InvalidOperation'),
    @({ Set-VlanConfiguration $file -Prune -Confirm:$false -PassThru | ForEach-Object difference }, 'change remove'),
    @({ Compare-VlanConfiguration $file -Prune -Quiet }, 'True'),
    @({ Export-VlanConfiguration -ParentName nowhere }, 'E:unknownName:ObjectNotFound'),
    @({ Export-VlanConfiguration nowhere/vlans.json }, 'E:refused:InvalidOperation'),
    @({ '{ "parents": { "nowhere": { "vlans": [] } } }' | Set-Content $file; Set-VlanConfiguration $file }, 'E:refused:InvalidOperation')
)
foreach ($case in $both) { Assert-Same $case[0] $case[1] (Get-Outcome $case[0]) }

# Tab
function Get-Completions([string] $Line) { (TabExpansion2 $Line $Line.Length).CompletionMatches.CompletionText -join ' ' }
Assert-Same 'Parents' "'Team 1' 'Team 2'" (Get-Completions 'New-Vlan -ParentName te')
Assert-Same 'VLANs' "Sales" (Get-Completions 'Remove-Vlan Sa')
Assert-Same 'Places' "'Team 1/40' 'Team 1/50'" (Get-Completions "Remove-Vlan 'Team 1")
Assert-Same 'Settings' 'NumRssQueues' (Get-Completions 'Set-VlanSetting Sales Num')
Assert-Same 'Values' 'Disabled' (Get-Completions 'Set-VlanSetting Sales LsoV2IPv4 Dis')
Assert-Same 'Findings' 'same-name' (Get-Completions 'Repair-VlanHost -Name s')
& vlanctl completion powershell | Out-String | Invoke-Expression
Assert-Same 'Words of vlanctl itself' "'Port A/10' 'Port A/20'" (Get-Completions "vlanctl show 'Port A/")
Assert-Same 'Its options' '--if-missing' (Get-Completions 'vlanctl create --if')

& $lab down > $null
Assert-Same 'No suite' 'E:noSuite:ResourceUnavailable' (Get-Outcome { Get-Vlan })
Complete-Test
