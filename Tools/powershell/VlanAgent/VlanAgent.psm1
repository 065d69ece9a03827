# Every cmdlet asks vlanctl and reads its JSON; a table that is meant for people is never read.
Set-StrictMode -Version 2

. (Join-Path $PSScriptRoot 'Vlanctl.ps1')
. (Join-Path $PSScriptRoot 'Errors.ps1')
. (Join-Path $PSScriptRoot 'Reports.ps1')
. (Join-Path $PSScriptRoot 'Selection.ps1')
. (Join-Path $PSScriptRoot 'Vlans.ps1')
. (Join-Path $PSScriptRoot 'VlanChanges.ps1')
. (Join-Path $PSScriptRoot 'Settings.ps1')
. (Join-Path $PSScriptRoot 'Machine.ps1')
. (Join-Path $PSScriptRoot 'Configuration.ps1')
. (Join-Path $PSScriptRoot 'Completion.ps1')
