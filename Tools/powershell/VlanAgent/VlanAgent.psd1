@{
    RootModule           = 'VlanAgent.psm1'
    ModuleVersion        = '1.0.0'
    GUID                 = '6c6f3b0a-5d3f-4b7e-9d55-8f0f2b6a7c11'
    Author               = 'VLAN agent'
    Description          = 'IEEE 802.1Q VLANs on network adapters and teams, through the VLAN agent of the management suite.'
    PowerShellVersion    = '5.1'
    CompatiblePSEditions = @('Desktop', 'Core')
    TypesToProcess       = @('VlanAgent.Types.ps1xml')
    FormatsToProcess     = @('VlanAgent.Format.ps1xml')
    FunctionsToExport    = @(
        'Get-Vlan', 'New-Vlan', 'Set-Vlan', 'Remove-Vlan', 'Restart-Vlan', 'Test-Vlan', 'Get-VlanParent',
        'Get-VlanSetting', 'Set-VlanSetting', 'Reset-VlanSetting',
        'Test-VlanHost', 'Repair-VlanHost',
        'Export-VlanConfiguration', 'Compare-VlanConfiguration', 'Set-VlanConfiguration', 'Confirm-VlanConfiguration'
    )
    CmdletsToExport      = @()
    VariablesToExport    = @()
    AliasesToExport      = @()
    PrivateData          = @{ PSData = @{ Tags = @('VLAN', '802.1Q', 'Network') } }
}
